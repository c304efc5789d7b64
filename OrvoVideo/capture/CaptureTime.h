#pragma once

#include <chrono>

namespace orvo {

/// The clock of every recorded sample: picture, sound, camera and pointer. It never jumps, whatever happens to the time of
/// day.
using CaptureClock = std::chrono::steady_clock;
using CaptureTime = CaptureClock::time_point;

/// The time from one to the other in seconds.
inline double secondsBetween(CaptureTime from, CaptureTime to)
{
    return std::chrono::duration<double>(to - from).count();
}

/// Seconds as a length of the clock.
inline CaptureClock::duration captureLength(double seconds)
{
    return std::chrono::duration_cast<CaptureClock::duration>(std::chrono::duration<double>(seconds));
}

} // namespace orvo
