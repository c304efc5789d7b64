#include "OrvoServer/store/Statistics.h"

#include <algorithm>

namespace orvo::server {

namespace {

constexpr std::size_t maxViews = 100000;
constexpr std::size_t maxRefused = 10000;
constexpr std::int64_t day = 86400;
constexpr std::int64_t maxOriginsOfVideo = 50;

} // namespace

void Statistics::beat(const std::string& video, const std::string& view, const std::vector<std::uint64_t>& tenths)
{
    const auto now = m_clock.now();
    const std::scoped_lock lock(m_mutex);
    if (m_views.size() >= maxViews)
        std::erase_if(m_views, [&](const auto& entry) { return entry.second.seen < now - 3600; });
    if (m_views.size() >= maxViews)
        return;
    View& known = m_views[{video, view}];
    known.seen = now;
    for (const auto tenth : tenths) {
        if (tenth > 9 || (known.reached >> tenth & 1U))
            continue;
        if (known.reached == 0)
            ++m_plays[{video, isoDay(now)}];
        known.reached |= 1U << tenth;
        ++m_tenths[{video, tenth}];
    }
}

void Statistics::refused(const std::string& video, const std::string& origin)
{
    const std::scoped_lock lock(m_mutex);
    const std::pair key(video, origin);
    if (m_refused.size() >= maxRefused && !m_refused.contains(key))
        return;
    auto& entry = m_refused[key];
    ++entry.times;
    entry.last = m_clock.now();
}

void Statistics::flush()
{
    decltype(m_plays) plays;
    decltype(m_tenths) tenths;
    decltype(m_refused) refused;
    const auto now = m_clock.now();
    {
        const std::scoped_lock lock(m_mutex);
        plays.swap(m_plays);
        tenths.swap(m_tenths);
        refused.swap(m_refused);
        std::erase_if(m_views, [&](const auto& entry) { return entry.second.seen < now - day; });
    }
    if (plays.empty() && tenths.empty() && refused.empty())
        return;
    try {
        m_database.write([&](Session& session) {
            for (const auto& [key, count] : plays) {
                session.run("INSERT INTO plays(video, day, plays) VALUES($1, $2, $3)"
                            " ON CONFLICT(video, day) DO UPDATE SET plays = plays.plays + excluded.plays",
                    {key.first, key.second, count});
            }
            for (const auto& [key, count] : tenths) {
                session.run("INSERT INTO tenths(video, tenth, plays) VALUES($1, $2, $3)"
                            " ON CONFLICT(video, tenth) DO UPDATE SET plays = tenths.plays + excluded.plays",
                    {key.first, key.second, count});
            }
            for (const auto& [key, entry] : refused) {
                session.run("INSERT INTO refused_origins(video, origin, times, last) VALUES($1, $2, $3, $4)"
                            " ON CONFLICT(video, origin) DO UPDATE SET times = refused_origins.times + excluded.times,"
                            " last = excluded.last",
                    {key.first, key.second, entry.times, entry.last});
                session.run("DELETE FROM refused_origins WHERE video = $1 AND origin NOT IN"
                            " (SELECT origin FROM refused_origins WHERE video = $1 ORDER BY last DESC, origin LIMIT $2)",
                    {key.first, maxOriginsOfVideo});
            }
        });
    } catch (const DatabaseError&) {
        const std::scoped_lock lock(m_mutex);
        for (const auto& [key, count] : plays)
            m_plays[key] += count;
        for (const auto& [key, count] : tenths)
            m_tenths[key] += count;
        for (const auto& [key, entry] : refused) {
            auto& kept = m_refused[key];
            kept.times += entry.times;
            kept.last = std::max(kept.last, entry.last);
        }
        throw;
    }
}

PlayStatistics Statistics::playsOf(const std::string& video)
{
    flush();
    PlayStatistics statistics;
    const auto now = m_clock.now();
    m_database.read([&](Session& session) {
        std::map<std::string, std::int64_t> byDay;
        for (const auto& row :
            session.run("SELECT day, plays FROM plays WHERE video = $1 AND day >= $2", {video, isoDay(now - 90 * day)}))
            byDay[row[0].text()] = row[1].number();
        for (std::int64_t back = 89; back >= 0; --back) {
            const std::string name = isoDay(now - back * day);
            statistics.days.emplace_back(name, byDay[name]);
        }
        for (const auto& row : session.run("SELECT tenth, plays FROM tenths WHERE video = $1", {video}))
            statistics.tenths.at(static_cast<std::size_t>(row[0].number())) = row[1].number();
    });
    return statistics;
}

std::map<std::string, std::vector<RefusedOrigin>> Statistics::allRefused()
{
    std::map<std::string, std::vector<RefusedOrigin>> origins;
    m_database.read([&](Session& session) {
        for (const auto& row :
            session.run("SELECT video, origin, times, last FROM refused_origins ORDER BY last DESC, origin"))
            origins[row[0].text()].push_back({.origin = row[1].text(), .times = row[2].number(), .last = row[3].number()});
    });
    return origins;
}

} // namespace orvo::server
