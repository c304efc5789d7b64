#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// Settings shared by all programs of the application: strings by key, in "settings.json" in the user's configuration
/// folder (`$XDG_CONFIG_HOME`/OrvoVideo, else ~/.config/OrvoVideo). Stateless, thread-safe.
namespace orvo::StoredSettings {

/// The address of the publishing server.
inline constexpr std::string_view serverURL = "serverURL";

/// The subtitles of an export, "words", "phrases" or "none", and whether they are burned in, "true" or "false".
inline constexpr std::string_view exportSubtitles = "exportSubtitles";
inline constexpr std::string_view exportBurnIn = "exportBurnIn";
/// What exports are made for, an identifier of `ExportPreset` or empty; the folder of the last one; what they took.
inline constexpr std::string_view exportPreset = "exportPreset";
inline constexpr std::string_view exportFolder = "exportFolder";
inline constexpr std::string_view exportPace = "exportPace";

std::filesystem::path file();

/// The value of a setting; nullopt when it is not set or the file cannot be read.
std::optional<std::string> text(std::string_view key);

/// Stores a setting and keeps the others. File system errors pass through unchanged. Throws `captureError` when the
/// existing file is damaged.
void setText(std::string_view key, std::string_view value);

} // namespace orvo::StoredSettings
