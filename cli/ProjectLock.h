#pragma once

#include <filesystem>

namespace orvo::cli {

/// Keeps every other `orvo` from changing the same project: an advisory lock on the project's folder, held for as long as
/// the object lives and gone with the process, however it ends.
class ProjectLock {
public:
    /// Waits for its turn; tells the user on standard error when it has to. A file system without locks gives none.
    /// Throws `std::filesystem::filesystem_error` when the folder cannot be opened.
    explicit ProjectLock(const std::filesystem::path& folder);
    ~ProjectLock();
    ProjectLock(const ProjectLock&) = delete;
    ProjectLock& operator=(const ProjectLock&) = delete;

private:
    int m_descriptor;
};

} // namespace orvo::cli
