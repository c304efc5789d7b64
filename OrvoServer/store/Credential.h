#pragma once

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/base/Metrics.h"
#include "OrvoServer/store/Catalogue.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace orvo::server {

/// The author's credential: 256 random bits, of which the database keeps a salted SHA-256.
///
/// A slow hash is for secrets that people choose; nobody can try enough of 2^256 for its speed to matter. Any thread.
class Credential {
public:
    /// Makes a new credential, which replaces any other, and returns it; it is shown this once. Blocks.
    static std::string renew(Catalogue& catalogue);

    /// Whether the database has one. Blocks. Throws `DatabaseError`.
    static bool isKept(Catalogue& catalogue);

    enum class Answer : std::uint8_t { right, wrong, tooMany };

    /// Blocks to read the kept hash. Throws `DatabaseError`.
    Credential(Catalogue& catalogue, const Clock& clock, Metrics& metrics);

    /// Does not block. A right credential is always right: only wrong ones count against a peer, which may send 10 at once
    /// and then 10 a minute.
    Answer check(std::string_view token, const std::string& peer);

    /// Reads the kept hash again, so that a new credential holds without a restart. Blocks.
    void reload();

    /// Changes when the credential does; for what must end with it.
    std::string generation() const;

private:
    struct Guesses {
        double left = 0;
        std::int64_t at = 0;
    };

    Catalogue& m_catalogue;
    const Clock& m_clock;
    Metrics& m_metrics;
    mutable std::mutex m_mutex; ///< Guards what follows.
    std::string m_salt;
    std::string m_hash;
    std::map<std::string, Guesses> m_guesses;
};

} // namespace orvo::server
