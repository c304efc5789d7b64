#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// The user's settings, shared by all programs of the application: strings by key, in "settings.json" in the user's
/// configuration folder (`$XDG_CONFIG_HOME`/OrvoVideo, else ~/.config/OrvoVideo). Thread-safe.
///
/// A damaged file counts as empty; the next change renames it to "settings.damaged.json", or adds a number if that name is
/// taken, and starts a new file.
namespace orvo::StoredSettings {

/// The address of the publishing server.
inline constexpr std::string_view serverURL = "serverURL";

/// The subtitles of an export, "words", "phrases" or "none", and whether they are burned in, "true" or "false".
inline constexpr std::string_view exportSubtitles = "exportSubtitles";
inline constexpr std::string_view exportBurnIn = "exportBurnIn";
/// The preset of exports, an identifier of `ExportPreset` or empty; the folder of the last export; the measured pace.
inline constexpr std::string_view exportPreset = "exportPreset";
inline constexpr std::string_view exportFolder = "exportFolder";
inline constexpr std::string_view exportPace = "exportPace";

using Values = std::map<std::string, std::string, std::less<>>;

std::filesystem::path file();

/// The value of a setting; nullopt when it is not set or the file cannot be read.
std::optional<std::string> text(std::string_view key);

/// Stores a setting and keeps the others; the file is on disk when it returns. File system errors pass through unchanged.
/// Throws `captureError` for a value that is not UTF-8.
void setText(std::string_view key, std::string_view value);

/// The handling of values that are already stored.
enum class Present { replaced, kept };

/// As `setText`, for several settings at once.
void setTexts(const Values& values, Present present = Present::replaced);

/// As `setText`, but writes on another thread and never blocks; `text` returns the value at once. A value that cannot be
/// written is kept in memory and written with the next one.
void remember(std::string_view key, std::string_view value);

/// Waits until all remembered values are written or have failed. The end of the process does so implicitly.
void finish();

} // namespace orvo::StoredSettings
