#pragma once

#include <filesystem>

namespace orvo {

/// Connects browsers to the application: installs the folder of the extension, which the user loads in the browser, and for
/// each browser a manifest that names the helper and the extension that may start it.
class BrowserIntegration {
public:
    struct Places {
        std::filesystem::path bundle; ///< "OrvoVideo.app".
        std::filesystem::path data; ///< The application's folder: "OrvoVideo" in the user's data folder.
        std::filesystem::path config; ///< The user's settings folder, of all applications.
        std::filesystem::path home; ///< The user's home folder.
    };

    /// The places of this user, and the bundle of the running program, if it is in one.
    static Places usualPlaces();

    explicit BrowserIntegration(Places places = usualPlaces());

    /// Replaces the installed extension with the bundle's and writes the manifests. Does nothing without a bundle or an
    /// extension in it. Blocks for some milliseconds. Throws file system errors unchanged.
    void setUp() const;

    /// The extension's folder, "Orvo Video/Extensión" in the home folder: the file panels of browsers do not show hidden
    /// folders. A copy that an earlier version left in the data folder is kept up to date, because a browser may have loaded
    /// it.
    std::filesystem::path extensionFolder() const;

private:
    Places m_places;
};

} // namespace orvo
