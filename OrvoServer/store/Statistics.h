#pragma once

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/store/Database.h"

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace orvo::server {

struct PlayStatistics {
    std::vector<std::pair<std::string, std::int64_t>> days; ///< The last 90 days, oldest first.
    std::array<std::int64_t, 10> tenths{}; ///< Plays that reached each tenth.
};

struct RefusedOrigin {
    std::string origin;
    std::int64_t times = 0;
    std::int64_t last = 0;
};

/// Counts plays and refused pages without a row per viewer. Counts in memory; `flush` writes the sums, and a crash loses the
/// counts since the last one. Thread-safe.
class Statistics {
public:
    Statistics(Database& database, const Clock& clock)
        : m_database(database)
        , m_clock(clock)
    {
    }

    /// Counts the played tenths, 0 to 9, once per view. `view` is a random name of one page load; it stays in memory for at
    /// most a day.
    void beat(const std::string& video, const std::string& view, const std::vector<std::uint64_t>& tenths);
    /// Counts a page of this origin that tried to embed the video.
    void refused(const std::string& video, const std::string& origin);

    /// Blocks. Throws `DatabaseError` and keeps the unwritten counts.
    void flush();

    /// These block and throw `DatabaseError`.
    PlayStatistics playsOf(const std::string& video);
    /// By video, latest first.
    std::map<std::string, std::vector<RefusedOrigin>> allRefused();

private:
    struct View {
        unsigned reached = 0; ///< A bit for each tenth.
        std::int64_t seen = 0;
    };

    Database& m_database;
    const Clock& m_clock;
    std::mutex m_mutex; ///< Guards the members below.
    std::map<std::pair<std::string, std::string>, View> m_views; ///< By video and view.
    std::map<std::pair<std::string, std::string>, std::int64_t> m_plays; ///< By video and day.
    std::map<std::pair<std::string, std::uint64_t>, std::int64_t> m_tenths;
    std::map<std::pair<std::string, std::string>, RefusedOrigin> m_refused;
};

} // namespace orvo::server
