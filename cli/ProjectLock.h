#pragma once

#include "VideoCore/FileLock.h"

#include <filesystem>

namespace orvo::cli {

/// Keeps other `orvo` processes from changing the same project: an advisory lock on its folder, released by the
/// destructor or the end of the process.
class ProjectLock {
public:
    /// Waits for the lock and reports the wait on standard error. Does nothing on a file system without locks. Throws
    /// `std::filesystem::filesystem_error` if the folder cannot be opened.
    explicit ProjectLock(const std::filesystem::path& folder);

private:
    FileLock m_lock;
};

} // namespace orvo::cli
