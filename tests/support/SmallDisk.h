#pragma once

#include "TestSupport/TemporaryFolder.h"

#include <cstddef>

namespace orvo::test {

/// A small real file system, for tests of a full disk.
///
/// Needs the right to mount, which root lacks in most containers.
class SmallDisk {
public:
    /// Mounts a file system for `bytes`, rounded up to whole pages.
    explicit SmallDisk(std::size_t bytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    /// False if this process may not mount; `path()` is then an ordinary folder.
    explicit operator bool() const noexcept { return m_mounted; }

    const std::filesystem::path& path() const noexcept { return m_folder.path(); }

private:
    TemporaryFolder m_folder;
    bool m_mounted;
};

/// Limits the length of files that this process writes to `bytes`, to imitate a full disk without mounting. Writes beyond
/// the limit fail with EFBIG instead of ENOSPC.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    std::size_t m_before;
    void (*m_handler)(int);
};

} // namespace orvo::test
