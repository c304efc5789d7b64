#pragma once

#include "VideoCore/UniqueFd.h"

#include <filesystem>
#include <optional>

namespace orvo {

/// An advisory lock (flock(2)) on an open file or folder. The process holds it until the object is destroyed, or the process
/// ends, however it ends.
///
/// A file system without locks grants every lock.
class FileLock {
public:
    FileLock() = default;
    explicit FileLock(UniqueFd file) noexcept
        : m_file(std::move(file))
    {
    }

    /// Returns false when another object or process holds the lock.
    bool tryLock() noexcept;

    /// Blocks until the lock is free.
    void lock() noexcept;

    /// The locked file.
    int descriptor() const noexcept { return m_file.get(); }

private:
    UniqueFd m_file;
};

/// Opens a folder, or the one that a link names, without locking it yet. Throws `std::filesystem::filesystem_error`.
FileLock openFolderLock(const std::filesystem::path& folder);

/// Locks a folder. Returns nullopt if it cannot be opened, is a link, or another object or process holds its lock.
std::optional<FileLock> tryLockFolder(const std::filesystem::path& folder) noexcept;

/// Whether another object or process holds a folder's lock; false if the folder cannot be opened or is a link.
bool isFolderLocked(const std::filesystem::path& folder) noexcept;

} // namespace orvo
