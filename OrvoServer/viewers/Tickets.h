#pragma once

#include "OrvoServer/base/Clock.h"
#include "VideoCore/Uuid.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::server {

/// What a viewer is allowed to get.
struct Permission {
    enum class Through : std::uint8_t {
        embedding, ///< A page of an authorised domain.
        link, ///< The public link.
    };

    Uuid video;
    std::string revision; ///< As `Catalogue` names it.
    Through through = Through::embedding;
    std::int64_t epoch = 0; ///< Of the video, for `through`: what was taken away since voids the permission.
    std::int64_t until = 0; ///< Seconds since 1970.

    friend bool operator==(const Permission&, const Permission&) = default;
};

/// Writes permissions as texts that only this server can make, without keeping anything: an HMAC-SHA256 over the content.
///
/// A ticket is the short-lived one in the addresses of media, a grant the one with which a player gets new tickets. Neither
/// passes for the other. Any thread.
class Tickets {
public:
    enum class Kind : std::uint8_t { ticket, grant };

    /// `secret`: at least 32 random bytes.
    Tickets(std::string_view secret, const Clock& clock);

    /// Letters, digits, "-" and "_".
    std::string write(Kind kind, const Permission& permission) const;
    /// Returns nullopt for what is forged, expired or of the other kind.
    std::optional<Permission> read(Kind kind, std::string_view text) const;

private:
    const std::string m_ticketKey;
    const std::string m_grantKey;
    const Clock& m_clock;
};

} // namespace orvo::server
