#pragma once

#include <filesystem>

namespace orvo::OlderSettings {

/// Migrates the settings of earlier versions from `file`, in Qt's own format, to `StoredSettings`, once: renames the file to
/// "….migrated" afterwards. Keeps settings that are already stored. Does nothing without the file. If the settings cannot be
/// written, logs it and keeps the file for the next start. Call it before any setting is read; blocks for a moment.
void adopt(const std::filesystem::path& file);

/// The file of earlier versions: "OrvoVideo.conf" in the settings folder.
std::filesystem::path usualFile();

} // namespace orvo::OlderSettings
