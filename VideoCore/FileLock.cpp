#include "VideoCore/FileLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <system_error>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

constexpr int openingFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

UniqueFd openWithoutLink(const fs::path& folder) noexcept
{
    return UniqueFd(::open(folder.c_str(), openingFolder | O_NOFOLLOW));
}

} // namespace

bool FileLock::tryLock() noexcept
{
    return ::flock(m_file.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

void FileLock::lock() noexcept
{
    while (::flock(m_file.get(), LOCK_EX) != 0 && errno == EINTR) { }
}

FileLock openFolderLock(const fs::path& folder)
{
    UniqueFd descriptor(::open(folder.c_str(), openingFolder));
    if (!descriptor)
        throw fs::filesystem_error("lock", folder, std::error_code(errno, std::system_category()));
    return FileLock(std::move(descriptor));
}

std::optional<FileLock> tryLockFolder(const fs::path& folder) noexcept
{
    UniqueFd descriptor = openWithoutLink(folder);
    if (!descriptor)
        return std::nullopt;
    FileLock lock(std::move(descriptor));
    return lock.tryLock() ? std::optional(std::move(lock)) : std::nullopt;
}

bool isFolderLocked(const fs::path& folder) noexcept
{
    UniqueFd descriptor = openWithoutLink(folder);
    return descriptor && !FileLock(std::move(descriptor)).tryLock();
}

} // namespace orvo
