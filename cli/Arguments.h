#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The values people write on a command line, and times as they are shown.
namespace orvo::cli {

/// A number in decimal form, with a point or a comma. Nothing for any other text, also for one that is not finite.
std::optional<double> parseNumber(std::string_view text);

/// A time as seconds (83.5) or [hh:]mm:ss[.fff] (1:23.5), negative with a minus sign before it; decimals after a point or a
/// comma. Nothing for any other text.
std::optional<double> parseTime(std::string_view text);

/// The limits of a value, both allowed.
struct Range {
    double lowest;
    double highest;
};

/// The readings below throw `UsageError` with a text that calls the value by `name`.
double numberArgument(std::string_view name, std::string_view text, Range range);
std::int64_t integerArgument(std::string_view name, std::string_view text, Range range);
double timeArgument(std::string_view name, std::string_view text);
bool flagArgument(std::string_view name, std::string_view text);

/// A text for the document. Throws `UsageError` when it is not UTF-8.
std::string textArgument(std::string_view name, std::string_view text);

/// Seconds as m:ss or h:mm:ss; a fraction is dropped, as the application does: for lengths.
std::string clockTime(double seconds);

/// As `clockTime`, with tenths where they are not zero: for lengths that a small change must show in.
std::string fineLength(double seconds);

/// Seconds as m:ss.fff or h:mm:ss.fff: for moments. `parseTime` reads it.
std::string exactTime(double seconds);

/// A number in its shortest form.
std::string shortNumber(double value);

} // namespace orvo::cli
