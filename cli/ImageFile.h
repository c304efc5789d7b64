#pragma once

#include "VideoCore/ProjectStore.h"

#include <filesystem>
#include <string>

namespace orvo::cli {

/// An image that is added to a project, read whole.
class ImageFile {
public:
    /// Throws `captureError` if the file is not in a format of `OverlayImage`, and file system errors.
    explicit ImageFile(const std::filesystem::path& file);

    const std::string& content() const noexcept { return m_content; }
    std::string name() const { return m_file.filename().string(); }
    std::string extension() const; ///< With its dot; a bare dot when the file has none.

private:
    std::filesystem::path m_file;
    std::string m_content;
};

/// The copy of an image in the media folder of a project, removed by the destructor unless it is kept.
class ImageCopy {
public:
    /// Copies under a new name. Throws file system errors.
    ImageCopy(const ImageFile& image, const ProjectStore& store, const VideoProject& project);
    ~ImageCopy();
    ImageCopy(const ImageCopy&) = delete;
    ImageCopy& operator=(const ImageCopy&) = delete;

    /// Relative to the project's folder.
    const std::string& name() const noexcept { return m_name; }
    void keep() noexcept { m_kept = true; }

private:
    std::string m_name;
    std::filesystem::path m_file;
    bool m_kept = false;
};

} // namespace orvo::cli
