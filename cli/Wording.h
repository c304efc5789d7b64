#pragma once

#include "VideoCore/DateTime.h"

#include <string>
#include <string_view>

/// How the values of a project are told to a person.
namespace orvo::cli {

/// A title on one line; a stand-in for an empty one.
std::string shownTitle(std::string_view title);

/// Day and minute in the user's time zone.
std::string localTime(DateTime instant);

/// A size in MB or KB.
std::string fileSize(std::uintmax_t bytes);

} // namespace orvo::cli
