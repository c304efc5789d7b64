#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace orvo {

/// An instant in UTC, of any year that ISO 8601 can tell. Documents keep whole seconds of it.
using DateTime = std::chrono::sys_time<std::chrono::microseconds>;

/// The current instant.
DateTime now();

/// ISO 8601 in UTC with whole seconds, for example 2025-03-14T09:26:53Z. A fraction of a second is dropped.
std::string formatIso8601(DateTime instant);

/// Reads exactly the form that `formatIso8601` writes; nothing for any other text, also for one with a fraction.
std::optional<DateTime> parseIso8601(std::string_view text);

} // namespace orvo
