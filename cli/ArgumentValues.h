#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Parses the values of a command line, and formats times.
namespace orvo::cli {

/// Parses a decimal number, with a point or a comma. Returns nullopt for any other text and for non-finite numbers.
std::optional<double> parseNumber(std::string_view text);

/// Parses a time: seconds (83.5) or [hh:]mm:ss[.fff] (1:23.5), with an optional minus sign; decimals after a point or a
/// comma. Returns nullopt for any other text.
std::optional<double> parseTime(std::string_view text);

/// The limits of a value, inclusive.
struct Range {
    double lowest;
    double highest;
};

/// These functions throw `UsageError` with a message that names the value `name`.
double numberArgument(std::string_view name, std::string_view text, Range range);
std::int64_t integerArgument(std::string_view name, std::string_view text, Range range);
double timeArgument(std::string_view name, std::string_view text);
bool flagArgument(std::string_view name, std::string_view text);

/// A text for the document. Throws `UsageError` if it is not UTF-8.
std::string textArgument(std::string_view name, std::string_view text);

/// Formats a length as m:ss or h:mm:ss; truncates fractions, as the windows do.
std::string clockTime(double seconds);

/// As `clockTime`, with tenths unless they are zero, so that small changes are visible.
std::string fineLength(double seconds);

/// Formats a position as m:ss.fff or h:mm:ss.fff, which `parseTime` reads.
std::string exactTime(double seconds);

/// Formats a number in its shortest form.
std::string shortNumber(double value);

} // namespace orvo::cli
