#pragma once

#include <cstdint>
#include <string>

namespace orvo {

/// A number as filter graphs hold it: the shortest decimal text that reads back as the same value. A floating-point value
/// always has a decimal point or an exponent (3.0, 12.5, 1e-05), an integer has neither. Infinities count as the largest
/// number, what is not a number as 0.
std::string numberText(double value);
std::string numberText(std::int64_t value);

/// The whole part of a number; 0 when it is not a number, and ±2^53 beyond the range in which doubles count every integer.
std::int64_t truncated(double value);

} // namespace orvo
