#pragma once

#include <cstdint>
#include <string>

namespace orvo {

/// A number for filter graphs: the shortest decimal text that reads back as the same value. A floating-point value always
/// has a decimal point or an exponent (3.0, 12.5, 1e-05), an integer has neither. Infinities count as the largest number,
/// NaN as 0.
std::string numberText(double value);
std::string numberText(std::int64_t value);

/// A duration or a point in time in seconds for ffmpeg's options of that type: as `numberText`, but without an exponent,
/// which they reject. They count microseconds in 64 bits: less than half of one becomes 0, and larger values are clamped.
std::string durationText(double seconds);

/// The whole part of a number, clamped to ±2^53, where doubles still represent every integer; 0 for NaN.
std::int64_t truncated(double value);

} // namespace orvo
