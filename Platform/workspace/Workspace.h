#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace orvo {

/// Shows files in the desktop's file manager and pages in its browser. Main thread only; calls neither block nor fail.
class Workspace {
public:
    /// Needs a `QGuiApplication`.
    static std::unique_ptr<Workspace> create();

    Workspace() = default;
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    virtual ~Workspace() = default;

    /// Shows a file selected in its folder, or only the folder when the file manager cannot select.
    virtual void reveal(const std::filesystem::path& file) = 0;

    /// Opens a folder.
    virtual void openFolder(const std::filesystem::path& folder) = 0;

    /// Opens a file with the desktop's default program for it.
    virtual void openFile(const std::filesystem::path& file) = 0;

    /// Opens a web address in the desktop's browser. Ignores text that is not a web address.
    virtual void openAddress(const std::string& address) = 0;

    /// A page of the desktop's settings.
    enum class SettingsPage : std::uint8_t { privacy, shortcuts, audio };
    /// Opens a page of the desktop's settings. Returns false when the desktop is known to have none.
    virtual bool openSettings(SettingsPage page) = 0;
};

} // namespace orvo
