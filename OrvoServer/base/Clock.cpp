#include "OrvoServer/base/Clock.h"

#include "VideoCore/DateTime.h"

#include <chrono>

namespace orvo::server {

namespace {

std::int64_t secondsOf(auto time)
{
    return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

} // namespace

std::int64_t SystemClock::now() const
{
    const std::int64_t wall = secondsOf(std::chrono::system_clock::now());
    const std::int64_t monotonic = secondsOf(std::chrono::steady_clock::now());
    const std::scoped_lock lock(m_mutex);
    if (wall < m_wall)
        return m_wall + (monotonic - m_monotonic);
    m_wall = wall;
    m_monotonic = monotonic;
    return wall;
}

std::string isoTime(std::int64_t seconds)
{
    return formatIso8601(DateTime(std::chrono::seconds(seconds)));
}

std::string isoDay(std::int64_t seconds)
{
    return isoTime(seconds).substr(0, 10);
}

} // namespace orvo::server
