#pragma once

#include "VideoCore/ProjectStore.h"

#include <filesystem>
#include <stop_token>
#include <string>

namespace orvo {

/// The copy of an image in the media folder of a project. The destructor removes it; call `keep` once the project names it.
class ProjectImage {
public:
    /// Checks an image and copies it under a new name.
    ///
    /// Blocks. Throws `captureError` if the file is not in a format of `OverlayImage`, or if its extension is not UTF-8,
    /// which a document cannot store; file system errors, also for files over 256 MiB; and `Cancelled`. Then no copy
    /// remains.
    ProjectImage(const ProjectStore& store, const VideoProject& project, const std::filesystem::path& image,
        const std::stop_token& stop = {});
    ~ProjectImage();
    ProjectImage(ProjectImage&& other) noexcept;
    ProjectImage& operator=(ProjectImage&&) = delete;

    /// Relative to the project's folder.
    const std::string& name() const noexcept { return m_name; }
    void keep() noexcept { m_file.clear(); }

private:
    std::string m_name;
    std::filesystem::path m_file; ///< Removed by the destructor; empty once kept.
};

} // namespace orvo
