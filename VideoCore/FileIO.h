#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>

/// Reads files whole, and writes them so that a power cut leaves either the old or the new content.
namespace orvo {

/// Reads a whole file into `out`, reusing its memory.
///
/// Throws `std::filesystem::filesystem_error`, also for folders, pipes and devices, and for a file of more than `limit`
/// bytes.
void readFile(
    const std::filesystem::path& file, std::string& out, std::size_t limit = std::numeric_limits<std::size_t>::max());

/// As above, returning a new string.
std::string readFile(const std::filesystem::path& file);

/// Replaces `file` by `content`: writes a temporary file in the same folder, flushes it to disk, renames it and flushes
/// the folder.
///
/// A reader sees the old or the new content, never a part. On failure the old file stays, the temporary one is removed
/// and `std::filesystem::filesystem_error` is thrown. If only the last step fails, the new file is in place, but a power
/// cut may still bring the old one back. An existing file keeps its mode; a link is replaced, not followed.
void writeFileAtomically(const std::filesystem::path& file, std::string_view content);

/// Flushes a file's data to disk, whichever process wrote it. Throws `std::filesystem::filesystem_error`.
void flushFile(const std::filesystem::path& file);

/// Flushes a folder's entries to disk. Throws `std::filesystem::filesystem_error`.
void flushFolder(const std::filesystem::path& folder);

} // namespace orvo
