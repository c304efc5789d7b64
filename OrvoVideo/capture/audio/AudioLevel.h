#pragma once

#include <algorithm>
#include <cmath>

namespace orvo {

/// A peak sample (0..1) on the scale of a level meter: 0 is −60 dB or less, 1 full scale.
inline double audioLevel(double peak)
{
    constexpr double minDecibels = -60;
    const double decibels = peak > 0 ? 20 * std::log10(peak) : minDecibels;
    return std::clamp(1 - decibels / minDecibels, 0.0, 1.0);
}

} // namespace orvo
