#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace orvo {

/// Asks the user for files with the desktop's dialogs.
///
/// Main thread only. Calls do not block. Each calls its answer exactly once, on the main thread, possibly at once: with
/// nullopt when the user cancels or when this object is destroyed.
class FilePanels {
public:
    using Answer = std::function<void(std::optional<std::filesystem::path>)>;

    /// Needs a `QApplication`.
    static std::unique_ptr<FilePanels> create();

    FilePanels() = default;
    FilePanels(const FilePanels&) = delete;
    FilePanels& operator=(const FilePanels&) = delete;
    virtual ~FilePanels() = default;

    /// Asks for one existing movie.
    virtual void openMovie(Answer answer) = 0;

    /// Asks for one existing image.
    virtual void openImage(Answer answer) = 0;

    /// Asks where to write an MPEG-4 movie; the name ends in ".mp4". Replaces characters of `proposedName` that a file
    /// name cannot contain. The user has confirmed overwriting an existing file.
    virtual void saveMovie(const std::string& proposedName, Answer answer) = 0;
};

} // namespace orvo
