#pragma once

#include "VideoCore/ProjectStore.h"

#include <filesystem>
#include <string>

namespace orvo::cli {

/// A picture that somebody wants to put into a project, read whole.
class ImageFile {
public:
    /// Throws `captureError` when the file is no image of the kinds of `OverlayImage`, file system errors.
    explicit ImageFile(const std::filesystem::path& file);

    const std::string& content() const noexcept { return m_content; }
    std::string name() const { return m_file.filename().string(); }
    std::string extension() const; ///< With its dot; a bare dot when the file has none.

private:
    std::filesystem::path m_file;
    std::string m_content;
};

/// The copy of a picture in a project's media folder, gone again when nobody keeps it.
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
