#pragma once

#include "VideoMedia/ExportService.h"

#include <string>

namespace orvo::cli {

class Command;

/// Declares "--height" and "--quality".
void addRenderOptions(Command& command, std::string& height, std::string& quality);

/// What they say; what is empty has its usual value. Throws `UsageError` for a value that makes no sense.
ExportSettings renderSettings(const std::string& height, const std::string& quality);

/// What the option `name` says of subtitles: "words", "phrases" or "none"; words when it is empty. Throws `UsageError`.
SubtitleCues subtitleCues(const std::string& name, const std::string& value);

} // namespace orvo::cli
