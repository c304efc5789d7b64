#pragma once

#include "VideoCore/FileLock.h"

#include <filesystem>
#include <string_view>

namespace orvo {

/// A folder inside a project folder for the intermediate files of one operation, deleted by the destructor.
///
/// Creating one deletes the folders of the same purpose that a killed process left behind.
class WorkFolder {
public:
    /// Creates `project`/`purpose`-UUID and its parents. Throws file system errors unchanged.
    WorkFolder(const std::filesystem::path& project, std::string_view purpose);
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    const std::filesystem::path& path() const noexcept { return m_path; }
    std::filesystem::path operator/(std::string_view name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
    FileLock m_lock; ///< Held on the folder while it is in use.
};

} // namespace orvo
