#include "cli/ProjectLock.h"

#include "cli/Terminal.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>

namespace orvo::cli {

ProjectLock::ProjectLock(const std::filesystem::path& folder)
    : m_descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (m_descriptor < 0)
        throw std::filesystem::filesystem_error("lock", folder, std::error_code(errno, std::system_category()));
    if (::flock(m_descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)
        return;
    if (Terminal::isTerminal(Terminal::Stream::error))
        std::fputs("Otra orden está cambiando este proyecto; espero a que acabe…\n", stderr);
    while (::flock(m_descriptor, LOCK_EX) != 0 && errno == EINTR) { }
}

ProjectLock::~ProjectLock()
{
    ::close(m_descriptor);
}

} // namespace orvo::cli
