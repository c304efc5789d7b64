#pragma once

#include <filesystem>

namespace orvo::OlderSettings {

/// Takes the settings that earlier versions kept in `file`, in Qt's own format, into `StoredSettings`, once: renames the
/// file to "….migrated" afterwards. What is stored there already stays. Does nothing without such a file, and tries again at
/// the next start when the settings cannot be written. Call it before any setting is read; blocks for a moment.
void adopt(const std::filesystem::path& file);

/// Where they are: "OrvoVideo.conf" in the folder of the settings.
std::filesystem::path usualFile();

} // namespace orvo::OlderSettings
