#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
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
    /// A reading of both clocks at one moment.
    struct Reading {
        std::chrono::nanoseconds wall; ///< Since 1970.
        std::chrono::nanoseconds monotonic;
    };

    SystemClock();
    /// Reads these clocks instead of the system's.
    explicit SystemClock(std::function<Reading()> read);

    std::int64_t now() const override;

private:
    const std::function<Reading()> m_read;
    mutable std::mutex m_mutex; ///< Guards the member below.
    mutable Reading m_last; ///< The last reading at which the wall clock was not behind.
};

/// The system's clock, unadjusted, even if it is set back: for times that other runs compare.
class WallClock final : public Clock {
public:
    std::int64_t now() const override;
};

/// By how many seconds the clocks of two instances may differ.
inline constexpr std::int64_t clockSlack = 60;

/// Seconds since 1970 as ISO 8601 in UTC.
std::string isoTime(std::int64_t seconds);

/// Seconds since 1970 as a calendar day in UTC: 2026-11-01.
std::string isoDay(std::int64_t seconds);

} // namespace orvo::server
