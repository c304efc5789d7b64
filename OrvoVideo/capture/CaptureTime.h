#pragma once

#include <chrono>

namespace orvo {

/// The monotonic clock of every sample: screen, audio, camera and pointer.
using CaptureClock = std::chrono::steady_clock;
using CaptureTime = CaptureClock::time_point;

/// A microphone or camera without samples for longer is away. Even in the dark, cameras deliver several frames per second.
inline constexpr std::chrono::seconds maxDeviceSilence{3};

/// Seconds from `from` to `to`.
inline double secondsBetween(CaptureTime from, CaptureTime to)
{
    return std::chrono::duration<double>(to - from).count();
}

/// Seconds as a duration of the clock.
inline CaptureClock::duration captureLength(double seconds)
{
    return std::chrono::duration_cast<CaptureClock::duration>(std::chrono::duration<double>(seconds));
}

} // namespace orvo
