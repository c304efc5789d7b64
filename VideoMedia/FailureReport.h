#pragma once

#include <string_view>

/// The error output of programs. Pure functions.
namespace orvo::FailureReport {

/// The line of an error output that gives the reason: the last one that is not blank, not progress ("frame=…") and not
/// a generic summary. Empty if there is none. The result refers to `report`.
std::string_view cause(std::string_view report);

} // namespace orvo::FailureReport
