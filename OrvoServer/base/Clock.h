#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace orvo::server {

/// Wall-clock time, in seconds since 1970. Thread-safe.
class Clock {
public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    virtual std::int64_t now() const = 0;
};

/// The system's clock, monotonic within the process: while the system's clock is set back, it advances with the monotonic
/// clock, so that no ticket lives too long. Follows jumps forwards.
class SystemClock final : public Clock {
public:
    std::int64_t now() const override;

private:
    mutable std::mutex m_mutex; ///< Guards the members below.
    mutable std::int64_t m_wall = 0;
    mutable std::int64_t m_monotonic = 0;
};

/// Seconds since 1970 as ISO 8601 in UTC.
std::string isoTime(std::int64_t seconds);

/// Seconds since 1970 as a calendar day in UTC: 2026-11-01.
std::string isoDay(std::int64_t seconds);

} // namespace orvo::server
