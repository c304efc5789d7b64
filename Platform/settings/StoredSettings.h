#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// The settings of a person, shared by all programs of the application: strings by key, in "settings.json" in the user's
/// configuration folder (`$XDG_CONFIG_HOME`/OrvoVideo, else ~/.config/OrvoVideo). Thread-safe.
///
/// A file that is damaged counts as one without settings; the next change renames it to "settings.damaged.json", with a
/// number where that name is taken, and begins a new one.
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

using Values = std::map<std::string, std::string, std::less<>>;

std::filesystem::path file();

/// The value of a setting; nullopt when it is not set or the file cannot be read.
std::optional<std::string> text(std::string_view key);

/// Stores a setting and keeps the others; the file is on disk when it returns. File system errors pass through unchanged.
/// Throws `captureError` for a value that is not UTF-8.
void setText(std::string_view key, std::string_view value);

/// What becomes of values that are already stored.
enum class Present { replaced, kept };

/// As `setText`, for several settings at once.
void setTexts(const Values& values, Present present = Present::replaced);

/// As `setText`, on another thread, so that it never blocks; `text` has the value at once. What cannot be written holds for
/// this run, and is tried again with the next value.
void remember(std::string_view key, std::string_view value);

/// Waits until what was remembered is written, or cannot be. A program that ends does so by itself.
void finish();

} // namespace orvo::StoredSettings
