#include "cli/ProjectLock.h"

#include "cli/Terminal.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <system_error>

namespace orvo::cli {

ProjectLock::ProjectLock(const std::filesystem::path& folder)
    : m_lock(UniqueFd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)))
{
    if (m_lock.descriptor() < 0)
        throw std::filesystem::filesystem_error("lock", folder, std::error_code(errno, std::system_category()));
    if (m_lock.tryLock())
        return;
    if (Terminal::isTerminal(Terminal::Stream::error))
        std::fputs("Otra orden está cambiando este proyecto; espero a que acabe…\n", stderr);
    m_lock.lock();
}

} // namespace orvo::cli
