#pragma once

#include <string_view>

/// What programs write when they fail. Pure.
namespace orvo::FailureReport {

/// The line of a report that says why: the last one that is neither blank, nor a figure of progress ("frame=…"), nor a mere
/// summary. Empty where there is none. A part of `report`.
std::string_view cause(std::string_view report);

} // namespace orvo::FailureReport
