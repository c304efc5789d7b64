#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

/// Distinguishes subtitle files that exports wrote from those that a person wrote or corrected.
namespace orvo::ExportedSubtitles {

/// Marks a file as written by an export, with the digest of its content, so that a later correction invalidates the mark.
/// File systems without extended attributes keep no mark.
void mark(const std::filesystem::path& file, std::string_view content);

/// Copies `file` to "NAME.srt.bak" before `content` replaces it, unless an export wrote it. Appends a number rather than
/// replacing another copy. Returns the new copy, if any. Throws file system errors unchanged.
std::optional<std::filesystem::path> keepForeign(const std::filesystem::path& file, std::string_view content);

} // namespace orvo::ExportedSubtitles
