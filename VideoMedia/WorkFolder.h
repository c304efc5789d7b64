#pragma once

#include "VideoCore/FileLock.h"

#include <filesystem>
#include <string_view>

namespace orvo {

/// A folder for the intermediate files of one operation inside a project's folder, deleted when the object ends.
///
/// Folders of the same purpose that a killed process left behind in the project are deleted when a new one is made.
class WorkFolder {
public:
    /// Makes `project`/`purpose`-UUID with its parents. Throws file system errors unchanged.
    WorkFolder(const std::filesystem::path& project, std::string_view purpose);
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    const std::filesystem::path& path() const noexcept { return m_path; }
    std::filesystem::path operator/(std::string_view name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
    FileLock m_lock; ///< On the folder, for as long as it is in use.
};

} // namespace orvo
