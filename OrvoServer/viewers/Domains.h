#pragma once

#include "VideoCore/Error.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::server {

/// A page's origin: scheme "http" or "https", host in lower case and ASCII, port as a number.
struct Origin {
    std::string scheme;
    std::string host;
    unsigned port = 443;

    /// Without the port where it is the scheme's own.
    std::string text() const;
    friend bool operator==(const Origin&, const Origin&) = default;
};

/// The origin of an address; nullopt for what is no http or https address. The host may be international.
std::optional<Origin> originOf(std::string_view address);

/// One entry of an author's list: an origin, or the subdomains of a host.
struct AuthorisedDomain {
    Origin origin;
    bool isWildcard = false; ///< "*.": every subdomain of the host, not the host itself.

    /// As Content-Security-Policy takes it.
    std::string source() const;
    bool matches(const Origin& page) const;
    friend bool operator==(const AuthorisedDomain&, const AuthorisedDomain&) = default;
};

/// Which pages may embed a video.
class AuthorisedDomains {
public:
    AuthorisedDomains() = default;

    /// Reads what an author typed: a host or an origin, with scheme and port where they matter. Without a scheme it is
    /// https, and on this machine ("localhost", "127.0.0.1") http as well. A path is ignored, and so is a repetition. Throws
    /// `Error` that names the first entry that cannot be used.
    explicit AuthorisedDomains(const std::vector<std::string>& typed);

    /// What of the list can be used, for texts that were checked before.
    static AuthorisedDomains usable(const std::vector<std::string>& typed);

    /// "frame-ancestors …", "'none'" for an empty list.
    std::string frameAncestors() const;
    bool allows(const Origin& page) const;
    const std::vector<AuthorisedDomain>& entries() const { return m_entries; }

private:
    void add(std::string_view typed);

    std::vector<AuthorisedDomain> m_entries;
};

} // namespace orvo::server
