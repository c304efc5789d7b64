#pragma once

#include <cstdint>
#include <string>

namespace orvo {

/// A number as filter graphs hold it: the shortest decimal text that reads back as the same value. A floating-point value
/// always has a decimal point or an exponent (3.0, 12.5, 1e-05), an integer has neither. Infinities count as the largest
/// number, what is not a number as 0.
std::string numberText(double value);
std::string numberText(std::int64_t value);

/// A duration or a point in time in seconds, as ffmpeg's options of that type take it: as `numberText`, but never with an
/// exponent, which they refuse. They count microseconds: less than half of one is 0, and more than 64 bits count is clamped.
std::string durationText(double seconds);

/// The whole part of a number; 0 when it is not a number, and ±2^53 beyond the range in which doubles count every integer.
std::int64_t truncated(double value);

} // namespace orvo
