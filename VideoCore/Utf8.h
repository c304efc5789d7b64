#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// UTF-8 in texts that may contain any bytes: file names and the output of other programs.
namespace orvo {

/// A code point and its bytes in a text.
struct CodePoint {
    std::int32_t value = -1; ///< −1 for a byte that is not UTF-8.
    std::string_view bytes; ///< Its bytes in the text.
};

/// Removes the first code point of `text`, which is not empty. A byte that is not UTF-8 counts as one.
CodePoint takeCodePoint(std::string_view& text);

bool isUtf8(std::string_view text);

/// Replaces a byte that is not UTF-8.
inline constexpr std::string_view replacementCharacter = "\uFFFD";

/// The text as valid UTF-8; invalid bytes become U+FFFD.
std::string validUtf8(std::string_view text);

} // namespace orvo
