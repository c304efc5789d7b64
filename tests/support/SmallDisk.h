#pragma once

#include "TestSupport/TemporaryFolder.h"

#include <cstddef>

namespace orvo::test {

/// A real file system of its own with little room, for tests of a full disk.
///
/// Making one needs the right to mount, which root has outside of most containers.
class SmallDisk {
public:
    /// Room for `bytes`, rounded up to whole pages.
    explicit SmallDisk(std::size_t bytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    /// False when this process may not mount; `path()` is then an ordinary folder.
    explicit operator bool() const noexcept { return m_mounted; }

    const std::filesystem::path& path() const noexcept { return m_folder.path(); }

private:
    TemporaryFolder m_folder;
    bool m_mounted;
};

/// While it lives, this process cannot write files longer than `bytes`: the full disk of those who may not mount. A write
/// then fails with EFBIG instead of ENOSPC.
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
