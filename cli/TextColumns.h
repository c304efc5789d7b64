#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Texts of people and documents on their way to a terminal.
namespace orvo::cli {

bool isUtf8(std::string_view text);

/// The text as valid UTF-8: what is not becomes U+FFFD.
std::string validUtf8(std::string_view text);

/// The text on one line and harmless to a terminal: control characters become blanks, what is not UTF-8 U+FFFD.
std::string printable(std::string_view text);

/// `printable` between Spanish quotation marks.
std::string inQuotes(std::string_view text);

/// How many columns of a terminal a printable text takes.
std::size_t columns(std::string_view text);

/// The text cut to at most `width` columns, with an ellipsis where something is missing.
std::string shortened(std::string_view text, std::size_t width);

/// The candidate that somebody who wrote `text` most likely meant; nothing when none is near.
std::optional<std::string_view> nearest(std::string_view text, std::span<const std::string_view> candidates);

/// " ¿Querías decir «candidate»?" for the nearest candidate; empty when none is near.
std::string suggestion(std::string_view text, std::span<const std::string_view> candidates);

} // namespace orvo::cli
