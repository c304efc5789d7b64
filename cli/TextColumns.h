#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Prepares texts of users and documents for a terminal.
namespace orvo::cli {

/// The text on one line, safe for a terminal: control characters become blanks, invalid UTF-8 becomes U+FFFD.
std::string printable(std::string_view text);

/// `printable` between Spanish quotation marks.
std::string inQuotes(std::string_view text);

/// The width of a printable text in terminal columns.
std::size_t columns(std::string_view text);

/// Shortens a text to at most `width` columns, with an ellipsis.
std::string shortened(std::string_view text, std::size_t width);

/// The candidate closest to a mistyped `text`; nullopt if none is close.
std::optional<std::string_view> nearest(std::string_view text, std::span<const std::string_view> candidates);

/// " ¿Querías decir «candidate»?" for the closest candidate; empty if none is close.
std::string suggestion(std::string_view text, std::span<const std::string_view> candidates);

} // namespace orvo::cli
