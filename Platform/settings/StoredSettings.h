#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// What is kept between runs and shared by all programs of the application: texts by name, in "settings.json" in the user's
/// configuration folder (`$XDG_CONFIG_HOME`/OrvoVideo, else ~/.config/OrvoVideo). Stateless; any thread.
namespace orvo::StoredSettings {

/// The address of the publishing server.
inline constexpr std::string_view serverURL = "serverURL";

/// The subtitles of an export, "words", "phrases" or "none", and whether they are burned in, "true" or "false".
inline constexpr std::string_view exportSubtitles = "exportSubtitles";
inline constexpr std::string_view exportBurnIn = "exportBurnIn";

std::filesystem::path file();

/// The value of a setting; nothing when it was never stored, or the file cannot be read.
std::optional<std::string> text(std::string_view key);

/// Stores a setting; the others stay. Throws file system errors unchanged, and `captureError` when the file is there and
/// cannot be understood.
void setText(std::string_view key, std::string_view value);

} // namespace orvo::StoredSettings
