#include "VideoCore/FileLock.h"

#include <cerrno>
#include <sys/file.h>

namespace orvo {

bool FileLock::tryLock() noexcept
{
    return ::flock(m_file.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

void FileLock::lock() noexcept
{
    while (::flock(m_file.get(), LOCK_EX) != 0 && errno == EINTR) { }
}

} // namespace orvo
