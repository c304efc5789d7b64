#pragma once

#include "VideoMedia/ProcessRunner.h"

#include <filesystem>
#include <stop_token>

namespace orvo {

/// Copies a file durably to a place where none is yet: when this returns the copy is on disk, so a document that names it
/// never reaches the disk before it. What was copied is removed when it does not come to an end.
///
/// Blocks; `progress` receives the copied fraction. Throws `std::filesystem::filesystem_error`, also for anything but a
/// regular file, and `Cancelled`.
void copyFile(const std::filesystem::path& from, const std::filesystem::path& to, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

} // namespace orvo
