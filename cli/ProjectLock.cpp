#include "cli/ProjectLock.h"

#include "cli/Terminal.h"

#include <cstdio>

namespace orvo::cli {

ProjectLock::ProjectLock(const std::filesystem::path& folder)
    : m_lock(openFolderLock(folder))
{
    if (m_lock.tryLock())
        return;
    if (Terminal::isTerminal(Terminal::Stream::error))
        std::fputs("Otra orden está cambiando este proyecto; espero a que acabe…\n", stderr);
    m_lock.lock();
}

} // namespace orvo::cli
