#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>

/// Files that matter: read whole, and written so that a power cut leaves the old or the new one.
namespace orvo {

/// Reads a whole file into `out`, whose memory is used again.
///
/// Throws `std::filesystem::filesystem_error`, also for a folder, a pipe or a device, and for a file that is longer than
/// `limit` bytes.
void readFile(
    const std::filesystem::path& file, std::string& out, std::size_t limit = std::numeric_limits<std::size_t>::max());

/// As above, as a new text.
std::string readFile(const std::filesystem::path& file);

/// Replaces `file` by `content`: written to a temporary file in the same folder, flushed to disk, renamed, the folder
/// flushed.
///
/// A reader sees the old or the new content, never a part. When anything fails the old file stays as it was, the
/// temporary one is removed and `std::filesystem::filesystem_error` is thrown; only when the last step fails, the new
/// file is there, and a power cut may still bring the old one back. A file that exists keeps its mode; a link is
/// replaced, not followed.
void writeFileAtomically(const std::filesystem::path& file, std::string_view content);

/// Flushes to disk what was written to a file, whoever wrote it. Throws `std::filesystem::filesystem_error`.
void flushFile(const std::filesystem::path& file);

/// Flushes to disk which entries a folder has. Throws `std::filesystem::filesystem_error`.
void flushFolder(const std::filesystem::path& folder);

} // namespace orvo
