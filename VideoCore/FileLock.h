#pragma once

#include "VideoCore/UniqueFd.h"

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

} // namespace orvo
