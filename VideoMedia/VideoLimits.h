#pragma once

#include <cstdint>

/// Limits of a video. Documents beyond them are damaged; no encoder accepts more.
namespace orvo::VideoLimits {

inline constexpr std::int64_t largestSide = 16'384; ///< Pixels.
inline constexpr std::int64_t highestRate = 1'000; ///< Frames per second.

constexpr bool isRate(std::int64_t fps)
{
    return fps >= 1 && fps <= highestRate;
}

} // namespace orvo::VideoLimits
