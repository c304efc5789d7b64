#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace orvo {

/// Shows files in the desktop's file manager and pages in its browser. An object of the main thread; nothing here waits or
/// fails.
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

    /// Opens the address of a page with what the desktop has for it. A text that is no address of the web opens nothing.
    virtual void openAddress(const std::string& address) = 0;

    /// A page of the desktop's own settings.
    enum class SettingsPage : std::uint8_t { privacy, shortcuts };
    /// Opens a page of the desktop's settings. False where the desktop is known to have none.
    virtual bool openSettings(SettingsPage page) = 0;
};

} // namespace orvo
