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
/// Holds no state but its root and no lock: it may be called from any thread, and writes of the same project are not
/// ordered. Failures of the file system are passed up unchanged as `std::filesystem::filesystem_error`.
class ProjectStore {
public:
    static constexpr std::string_view documentName = "project.json";
    static constexpr std::string_view mediaName = "media";
    /// In bytes, some 50 hours of recording. A longer document is neither read nor written: it would be foreign, and could
    /// take all memory.
    static constexpr std::size_t longestDocument = std::size_t{512} << 20;

    /// Opens the library, making its folder when needed. The root is set to owner-only access (mode 0700) every time.
    ///
    /// Without a root it is "OrvoVideo/Projects" in the user's data folder (`$XDG_DATA_HOME`, else ~/.local/share).
    explicit ProjectStore(const std::optional<std::filesystem::path>& root = std::nullopt);

    const std::filesystem::path& root() const noexcept { return m_root; }

    /// The folder of a project; touches no file.
    std::filesystem::path directory(const Uuid& id) const;

    /// Makes the project's folder with its media folder, then saves, as durably. An existing folder is no error.
    void create(const VideoProject& project) const;

    /// Writes the document as it is, atomically and durably. The project's folder must exist.
    /// Throws `DocumentError` for a value that has no document form.
    void save(const VideoProject& project) const;

    /// Reads a document. Throws `DocumentError` for one that cannot be read, and `captureError` with
    /// "Este proyecto requiere una versión más reciente." for one of another version.
    VideoProject load(const Uuid& id) const;

    /// Every readable project, newest first; those that cannot be read are left out. Never fails; reads on several threads.
    std::vector<VideoProject> list() const;

    /// The absolute location of a file of the project, confined to its folder whatever the path and the links in it.
    ///
    /// The text is put in order first ("a/../b" is "b"), then links are followed. The file need not exist. Throws
    /// `std::filesystem::filesystem_error` (invalid argument) for a path that leads out.
    std::filesystem::path mediaURL(const VideoProject& project, std::string_view file) const;

private:
    std::filesystem::path m_root;
};

} // namespace orvo
