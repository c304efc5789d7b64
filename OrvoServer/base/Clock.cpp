#include "OrvoServer/base/Clock.h"

#include "VideoCore/DateTime.h"

#include <algorithm>
#include <utility>

namespace orvo::server {

SystemClock::SystemClock()
    : SystemClock([] {
        return Reading{.wall = std::chrono::system_clock::now().time_since_epoch(),
            .monotonic = std::chrono::steady_clock::now().time_since_epoch()};
    })
{
}

SystemClock::SystemClock(std::function<Reading()> read)
    : m_read(std::move(read))
    , m_last(m_read())
{
}

std::int64_t SystemClock::now() const
{
    const std::scoped_lock lock(m_mutex);
    const Reading reading = m_read();
    const auto earliest = m_last.wall + std::max(reading.monotonic - m_last.monotonic, std::chrono::nanoseconds(0));
    if (reading.wall >= earliest)
        m_last = reading;
    return std::chrono::floor<std::chrono::seconds>(std::max(reading.wall, earliest)).count();
}

std::int64_t WallClock::now() const
{
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
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
