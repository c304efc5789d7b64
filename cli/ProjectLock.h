#pragma once

#include "VideoCore/FileLock.h"

#include <filesystem>

namespace orvo::cli {

/// Keeps every other `orvo` from changing the same project: an advisory lock on the project's folder, held for as long as
/// the object lives and gone with the process, however it ends.
class ProjectLock {
public:
    /// Waits for its turn; tells the user on standard error when it has to. A file system without locks gives none.
    /// Throws `std::filesystem::filesystem_error` when the folder cannot be opened.
    explicit ProjectLock(const std::filesystem::path& folder);

private:
    FileLock m_lock;
};

} // namespace orvo::cli
