#pragma once

#include "VideoMedia/ProcessRunner.h"

#include <filesystem>
#include <stop_token>
#include <string>

namespace orvo {

/// Copies a file to a path that does not exist yet. The copy is on disk when the function returns, so a document that
/// names it never reaches the disk first. A partial copy is removed.
///
/// Blocks; `progress` receives the copied fraction. Throws `Cancelled` and `std::filesystem::filesystem_error`; only
/// regular files can be copied.
void copyFile(const std::filesystem::path& from, const std::filesystem::path& to, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

/// The path of a copy of `file` in a project's media folder, relative to the project's folder: a new name with the same
/// extension, or with a bare dot if the file has none.
///
/// Throws `captureError` if the extension is not UTF-8, which no document can name, and
/// `std::filesystem::filesystem_error` unless `file` is a regular file.
std::string newMediaName(const std::filesystem::path& file);

} // namespace orvo
