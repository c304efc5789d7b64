#include "VideoMedia/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace orvo {

std::string numberText(double value)
{
    // Products of huge numbers overflow; filters accept only finite ones.
    constexpr double limit = std::numeric_limits<double>::max();
    value = std::isnan(value) ? 0 : std::clamp(value, -limit, limit);
    std::array<char, 32> buffer{};
    // Plain decimals while every digit before the point is significant, exponents beyond.
    const double size = std::abs(value);
    const bool plain = size == 0 || (size >= 1e-4 && size < 0x1p54);
    const auto format = plain ? std::chars_format::fixed : std::chars_format::scientific;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format).ptr;
    std::string text(buffer.data(), end);
    if (plain && !text.contains('.'))
        text += ".0";
    return text;
}

std::string numberText(std::int64_t value)
{
    return std::to_string(value);
}

std::string durationText(double seconds)
{
    constexpr double shortest = 0.5e-6;
    constexpr double longest = 9e12;
    seconds = std::isnan(seconds) || std::abs(seconds) < shortest ? 0 : std::clamp(seconds, -longest, longest);
    std::array<char, 32> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), seconds, std::chars_format::fixed).ptr;
    std::string text(buffer.data(), end);
    if (!text.contains('.'))
        text += ".0";
    return text;
}

std::int64_t truncated(double value)
{
    constexpr double limit = 0x1p53;
    return std::isnan(value) ? 0 : static_cast<std::int64_t>(std::clamp(value, -limit, limit));
}

} // namespace orvo
