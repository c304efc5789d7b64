#pragma once

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/base/Metrics.h"
#include "OrvoServer/store/Catalogue.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace orvo::server {

/// The author's credential: 256 random bits. The database stores their HMAC-SHA256 under a random salt.
///
/// A slow hash protects secrets that people choose; nobody can search 2^256 values. Thread-safe.
class Credential {
public:
    /// Creates and returns a credential, which replaces the previous one and cannot be retrieved again. Blocks.
    static std::string renew(Catalogue& catalogue);

    /// Returns whether the database has one. Blocks. Throws `DatabaseError`.
    static bool isKept(Catalogue& catalogue);

    enum class Answer : std::uint8_t { right, wrong, tooMany };

    /// Blocks to read the stored hash. Throws `DatabaseError`.
    Credential(Catalogue& catalogue, const Clock& clock, Metrics& metrics);

    /// Does not block. Limits wrong credentials per peer to a burst of 10, then 10 a minute. The right one is never limited.
    Answer check(std::string_view token, const std::string& peer);

    /// Reads the stored hash again, to adopt a new credential without a restart. Blocks.
    void reload();

    /// Changes with the credential. Sessions include it, so they end with their credential.
    std::string generation() const;

private:
    struct Guesses {
        double left = 0;
        std::int64_t at = 0;
    };

    Catalogue& m_catalogue;
    const Clock& m_clock;
    Metrics& m_metrics;
    mutable std::mutex m_mutex; ///< Guards the members below.
    std::string m_salt;
    std::string m_hash;
    std::map<std::string, Guesses> m_guesses;
};

} // namespace orvo::server
