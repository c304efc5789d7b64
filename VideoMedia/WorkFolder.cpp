#include "VideoMedia/WorkFolder.h"

#include "VideoCore/Uuid.h"

#include <string>
#include <system_error>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

void removeAbandoned(const fs::path& project, const std::string& prefix)
{
    std::error_code error;
    for (fs::directory_iterator entry(project, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (!name.starts_with(prefix) || !Uuid::parse(std::string_view(name).substr(prefix.size())))
            continue;
        if (const auto lock = tryLockFolder(entry->path())) {
            std::error_code ignored;
            fs::remove_all(entry->path(), ignored);
        }
    }
}

} // namespace

WorkFolder::WorkFolder(const fs::path& project, std::string_view purpose)
{
    const std::string prefix = std::string(purpose) + "-";
    removeAbandoned(project, prefix);
    const std::string name = Uuid::random().text();
    m_path = project / (prefix + name);
    // Renamed only once it is locked; otherwise another process could delete it as abandoned.
    const fs::path unnamed = project / ("." + name + ".tmp");
    fs::create_directories(unnamed);
    if (auto lock = tryLockFolder(unnamed))
        m_lock = std::move(*lock);
    std::error_code error;
    fs::rename(unnamed, m_path, error);
    if (!error)
        return;
    fs::remove(unnamed);
    throw fs::filesystem_error("rename", m_path, error);
}

WorkFolder::~WorkFolder()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

} // namespace orvo
