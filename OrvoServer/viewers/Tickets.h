#pragma once

#include "OrvoServer/base/Clock.h"
#include "VideoCore/Uuid.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::server {

/// The right of a viewer to fetch one revision of a video.
struct Permission {
    enum class Through : std::uint8_t {
        embedding, ///< A page of an authorised domain.
        link, ///< The public link.
    };

    Uuid video;
    std::string revision; ///< Identifier of `Catalogue`.
    Through through = Through::embedding;
    std::int64_t epoch = 0; ///< The video's epoch for `through`; withdrawing access increments it, which invalidates the
                            ///< permission.
    std::int64_t until = 0; ///< Seconds since 1970.

    friend bool operator==(const Permission&, const Permission&) = default;
};

/// Encodes permissions as tokens that only this server can create, without storing them: an HMAC-SHA256 over the content.
///
/// A ticket is the short-lived token in media addresses; with a grant, a player gets new tickets. One is not accepted as
/// the other. Thread-safe.
class Tickets {
public:
    enum class Kind : std::uint8_t { ticket, grant };

    /// How long tokens live at most, in seconds.
    struct Lives {
        std::int64_t ticket = 600;
        std::int64_t grant = 86400;
    };

    /// `secret`: at least 32 random bytes.
    Tickets(std::string_view secret, Lives lives, const Clock& clock);

    /// Uses letters, digits, "-" and "_".
    std::string write(Kind kind, const Permission& permission) const;
    /// Returns nullopt for a forged or expired token, one of the other kind, and one with a longer life than it may have:
    /// the clock was set back since.
    std::optional<Permission> read(Kind kind, std::string_view text) const;

private:
    const std::string m_ticketKey;
    const std::string m_grantKey;
    const Lives m_lives;
    const Clock& m_clock;
};

} // namespace orvo::server
