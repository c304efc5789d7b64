#pragma once

#include "VideoCore/VideoProject.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace orvo {

/// The project library on disk: one folder per project, named by its identifier, with `project.json` and `media`.
///
/// Thread-safe: the only state is its root. It has no lock; concurrent writes of one project are not ordered. Failures of
/// the file system pass through unchanged as `std::filesystem::filesystem_error`.
class ProjectStore {
public:
    static constexpr std::string_view documentName = "project.json";
    static constexpr std::string_view mediaName = "media";
    /// Bytes; some 50 hours of recording. Larger documents are neither read nor written, because they could exhaust
    /// memory.
    static constexpr std::size_t maxDocumentBytes = std::size_t{512} << 20;

    /// Opens the library and creates its folder if needed. Sets the root to owner-only access (mode 0700) every time.
    ///
    /// The default root is "OrvoVideo/Projects" in the user's data folder (`$XDG_DATA_HOME`, else ~/.local/share).
    explicit ProjectStore(const std::optional<std::filesystem::path>& root = std::nullopt);

    const std::filesystem::path& root() const noexcept { return m_root; }

    /// The folder of a project. Does not touch the disk.
    std::filesystem::path directory(const Uuid& id) const;

    /// Creates the project's folder and its media folder, then saves, as durably. An existing folder is not an error.
    void create(const VideoProject& project) const;

    /// Writes the document unchanged, atomically and durably. The project's folder must exist.
    /// Throws `DocumentError` for a value that has no document form.
    void save(const VideoProject& project) const;

    /// Reads a document. Throws `DocumentError` when it cannot be read, and `captureError` with "Este proyecto requiere
    /// una versión más reciente." for any other version.
    VideoProject load(const Uuid& id) const;

    /// All readable projects, newest first. Skips unreadable ones. Never fails; reads on several threads.
    std::vector<VideoProject> list() const;

    /// The absolute location of a file of the project. It is always inside the project's folder, whatever the path and
    /// its links.
    ///
    /// Normalises the path first ("a/../b" is "b"), then follows links. The file may not exist. Throws
    /// `std::filesystem::filesystem_error` (invalid argument) for a path that leaves the folder.
    std::filesystem::path mediaURL(const VideoProject& project, std::string_view file) const;

private:
    std::filesystem::path m_root;
};

} // namespace orvo
