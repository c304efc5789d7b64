#pragma once

#include <filesystem>

namespace orvo {

/// What connects browsers to the application: the folder of the extension, which the user loads in the browser, and for
/// each browser a manifest that tells where the helper is and which extension may start it.
class BrowserIntegration {
public:
    struct Places {
        std::filesystem::path bundle; ///< "OrvoVideo.app".
        std::filesystem::path data; ///< Of the application: "OrvoVideo" in the user's data folder.
        std::filesystem::path config; ///< Of all applications of the user.
        std::filesystem::path home; ///< The user's home folder.
    };

    /// The places of this user and of the bundle that the running program lies in; no bundle when it lies in none.
    static Places usualPlaces();

    explicit BrowserIntegration(Places places = usualPlaces());

    /// Puts the bundle's extension in place of the installed one and writes the manifests. Does nothing when there is no
    /// bundle or no extension in it. Blocks for some milliseconds. Throws file system errors unchanged.
    void setUp() const;

    /// Where the user finds the extension, "Orvo Video/Extensión" at home: browsers' panels hide hidden folders. A copy of
    /// an earlier version in the data folder, which a browser may have loaded, is kept up to date.
    std::filesystem::path extensionFolder() const;

private:
    Places m_places;
};

} // namespace orvo
