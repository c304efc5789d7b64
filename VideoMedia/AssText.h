#pragma once

#include <string>
#include <string_view>

/// Parts of Advanced SubStation Alpha documents. Pure functions.
namespace orvo::AssText {

/// A time in the notation of the format, "0:01:05.25": hundredths of a second, truncated, never negative.
std::string stamp(double seconds);

/// Escapes a text so that it is rendered as typed.
std::string escaped(std::string_view text);

} // namespace orvo::AssText
