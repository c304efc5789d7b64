#pragma once

#include "VideoMedia/ProcessRunner.h"

#include <filesystem>
#include <stop_token>

namespace orvo {

/// Copies a file to a path that does not exist yet. The copy is on disk when the function returns, so a document that
/// names it never reaches the disk first. A partial copy is removed.
///
/// Blocks; `progress` receives the copied fraction. Throws `Cancelled` and `std::filesystem::filesystem_error`; only
/// regular files can be copied.
void copyFile(const std::filesystem::path& from, const std::filesystem::path& to, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

} // namespace orvo
