#pragma once

#include "VideoCore/Error.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::server {

/// The origin of a page: scheme "http" or "https", host in lower-case ASCII, port number.
struct Origin {
    std::string scheme;
    std::string host;
    unsigned port = 443;

    /// Omits the scheme's default port.
    std::string text() const;
    friend bool operator==(const Origin&, const Origin&) = default;
};

/// The origin of an http or https address; nullopt for any other. The host may be an international name.
std::optional<Origin> originOf(std::string_view address);

/// An entry of an author's list: an origin, or the subdomains of a host.
struct AuthorisedDomain {
    Origin origin;
    bool isWildcard = false; ///< "*.": all subdomains of the host, but not the host itself.

    /// In the syntax of Content-Security-Policy.
    std::string source() const;
    bool matches(const Origin& page) const;
    friend bool operator==(const AuthorisedDomain&, const AuthorisedDomain&) = default;
};

/// Which pages may embed a video.
class AuthorisedDomains {
public:
    AuthorisedDomains() = default;

    /// Parses the author's entries: a host or an origin, with scheme and port where they matter. Without a scheme, allows
    /// https, and on this machine ("localhost", "127.0.0.1") also http. Ignores paths and duplicates. Throws `Error` that
    /// names the first unusable entry.
    explicit AuthorisedDomains(const std::vector<std::string>& typed);

    /// The usable entries of a list that was checked before.
    static AuthorisedDomains usable(const std::vector<std::string>& typed);

    /// "frame-ancestors …"; "'none'" for an empty list.
    std::string frameAncestors() const;
    bool allows(const Origin& page) const;
    const std::vector<AuthorisedDomain>& entries() const { return m_entries; }

private:
    void add(std::string_view typed);

    std::vector<AuthorisedDomain> m_entries;
};

} // namespace orvo::server
