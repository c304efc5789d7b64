#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

/// Tells the subtitle files that exports wrote from those that somebody wrote or corrected.
namespace orvo::ExportedSubtitles {

/// Marks a file as written by an export, by the digest of its content: a file that somebody corrects since has another one.
/// File systems without attributes keep no mark.
void mark(const std::filesystem::path& file, std::string_view content);

/// Copies a subtitle file that `content` is to replace to "NAME.srt.bak", unless an export wrote it. A number at the end
/// keeps the copy from replacing another one. Returns the copy that was made, if any. Throws file system errors unchanged.
std::optional<std::filesystem::path> keepForeign(const std::filesystem::path& file, std::string_view content);

} // namespace orvo::ExportedSubtitles
