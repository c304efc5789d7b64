#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// Files that matter: read whole, and written so that a power cut leaves the old or the new one.
namespace orvo {

/// Reads a whole file into `out`, whose memory is used again. Throws `std::filesystem::filesystem_error`, also for a folder.
void readFile(const std::filesystem::path& file, std::string& out);

/// As above, as a new text.
std::string readFile(const std::filesystem::path& file);

/// Replaces `file` by `content`: written to a temporary file in the same folder, flushed to disk, renamed, the folder
/// flushed.
///
/// A reader sees the old or the new content, never a part. When anything fails the old file stays as it was, the
/// temporary one is removed and `std::filesystem::filesystem_error` is thrown. A file that exists keeps its mode.
void writeFileAtomically(const std::filesystem::path& file, std::string_view content);

} // namespace orvo
