#pragma once

#include "VideoCore/DateTime.h"

#include <string>
#include <string_view>

/// Formats values of a project for users.
namespace orvo::cli {

/// A title on one line; a placeholder if it is empty.
std::string shownTitle(std::string_view title);

/// Date and time to the minute, in the time zone of the user.
std::string localTime(DateTime instant);

} // namespace orvo::cli
