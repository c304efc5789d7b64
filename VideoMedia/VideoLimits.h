#pragma once

#include <cstdint>

/// Limits of a video. Documents beyond them are damaged; no encoder accepts more.
namespace orvo::VideoLimits {

inline constexpr std::int64_t maxSide = 16'384; ///< Pixels.
inline constexpr std::int64_t maxRate = 1'000; ///< Frames per second.

constexpr bool isRate(std::int64_t fps)
{
    return fps >= 1 && fps <= maxRate;
}

} // namespace orvo::VideoLimits
