#include "VideoMedia/WorkFolder.h"

#include "VideoCore/Uuid.h"

#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// Opens a folder and takes its lock; −1 when it cannot be opened or somebody else holds the lock.
int openLocked(const fs::path& folder)
{
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0 || ::flock(descriptor, LOCK_EX | LOCK_NB) == 0)
        return descriptor;
    ::close(descriptor);
    return -1;
}

void removeAbandoned(const fs::path& project, const std::string& prefix)
{
    std::error_code error;
    for (fs::directory_iterator entry(project, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (!name.starts_with(prefix) || !Uuid::parse(std::string_view(name).substr(prefix.size())))
            continue;
        const int lock = openLocked(entry->path());
        if (lock < 0)
            continue;
        std::error_code ignored;
        fs::remove_all(entry->path(), ignored);
        ::close(lock);
    }
}

} // namespace

WorkFolder::WorkFolder(const fs::path& project, std::string_view purpose)
{
    const std::string prefix = std::string(purpose) + "-";
    removeAbandoned(project, prefix);
    const std::string name = Uuid::random().text();
    m_path = project / (prefix + name);
    // It gets its name when it is locked: somebody who looks for abandoned ones could take it for one of them before.
    const fs::path unnamed = project / ("." + name + ".tmp");
    fs::create_directories(unnamed);
    m_lock = openLocked(unnamed);
    std::error_code error;
    fs::rename(unnamed, m_path, error);
    if (!error)
        return;
    if (m_lock >= 0)
        ::close(m_lock);
    fs::remove(unnamed);
    throw fs::filesystem_error("rename", m_path, error);
}

WorkFolder::~WorkFolder()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
    if (m_lock >= 0)
        ::close(m_lock);
}

} // namespace orvo
