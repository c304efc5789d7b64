#pragma once

#include "VideoMedia/ExportService.h"

#include <string>

namespace orvo::cli {

class Command;

/// Declares "--height" and "--quality".
void addRenderOptions(Command& command, std::string& height, std::string& quality);

/// Parses both options; an empty one means its default. Throws `UsageError` for an invalid value.
ExportSettings renderSettings(const std::string& height, const std::string& quality);

/// Parses the subtitles option `name`: "words", "phrases" or "none"; empty means words. Throws `UsageError`.
SubtitleCues subtitleCues(const std::string& name, const std::string& value);

} // namespace orvo::cli
