#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace orvo {

/// Asks the user for files with the desktop's dialogs.
///
/// Main thread only; does not block. Each function calls `answer` exactly once, on the main thread, possibly at once: with
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

    /// The proposal for a file to save.
    struct Saved {
        std::string name; ///< Proposed. Characters that a file name cannot contain are replaced.
        std::filesystem::path folder = {}; ///< Where the panel starts; if empty, the desktop decides.
        std::string extension = ".mp4"; ///< Of the result: ".mp4", ".webm", ".m4a" or ".gif".
    };

    /// Asks where to write a movie; the answer has the extension. The user has confirmed overwriting an existing file.
    virtual void saveMovie(const Saved& saved, Answer answer) = 0;
};

} // namespace orvo
