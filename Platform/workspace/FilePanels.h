#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace orvo {

/// Asks the user for files.
///
/// An object of the main thread. No call waits: each gives its answer later, or at once, on the main thread, exactly once,
/// with nothing when the user cancels or when this object goes.
class FilePanels {
public:
    using Answer = std::function<void(std::optional<std::filesystem::path>)>;

    /// The panels of the desktop. Needs a `QApplication`.
    static std::unique_ptr<FilePanels> create();

    FilePanels() = default;
    FilePanels(const FilePanels&) = delete;
    FilePanels& operator=(const FilePanels&) = delete;
    virtual ~FilePanels() = default;

    /// One existing movie.
    virtual void openMovie(Answer answer) = 0;

    /// One existing image.
    virtual void openImage(Answer answer) = 0;

    /// Where to write an MPEG-4 movie; the name ends in ".mp4". `proposedName` may be any text: what a file name cannot hold
    /// is replaced. The user has confirmed that a file that exists is overwritten.
    virtual void saveMovie(const std::string& proposedName, Answer answer) = 0;
};

} // namespace orvo
