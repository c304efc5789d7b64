#pragma once

#include <filesystem>
#include <memory>

namespace orvo {

/// Shows files in the desktop's file manager. An object of the main thread; nothing here waits or fails.
class Workspace {
public:
    /// The workspace of the desktop. Needs a `QGuiApplication`.
    static std::unique_ptr<Workspace> create();

    Workspace() = default;
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    virtual ~Workspace() = default;

    /// Shows a file selected in its folder, or the folder alone where the file manager cannot select.
    virtual void reveal(const std::filesystem::path& file) = 0;

    /// Shows the content of a folder.
    virtual void openFolder(const std::filesystem::path& folder) = 0;
};

} // namespace orvo
