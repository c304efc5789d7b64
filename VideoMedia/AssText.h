#pragma once

#include <string>
#include <string_view>

/// Parts of Advanced SubStation Alpha documents. Pure functions.
namespace orvo::AssText {

/// An instant as the format counts it, "0:01:05.25": hundredths of a second, truncated, never negative.
std::string stamp(double seconds);

/// A text so that it is shown as it was typed.
std::string escaped(std::string_view text);

} // namespace orvo::AssText
