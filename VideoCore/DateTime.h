#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace orvo {

/// An instant in UTC, in the range of years of ISO 8601. Documents keep whole seconds.
using DateTime = std::chrono::sys_time<std::chrono::microseconds>;

/// The current instant.
DateTime now();

/// ISO 8601 in UTC with whole seconds, for example 2025-03-14T09:26:53Z. A fraction of a second is dropped.
std::string formatIso8601(DateTime instant);

/// Parses exactly the form that `formatIso8601` writes. Returns nullopt for any other text, including one with a
/// fraction.
std::optional<DateTime> parseIso8601(std::string_view text);

} // namespace orvo
