#include "VideoCore/UserFolders.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// An XDG base directory: the variable's value, else `usual` in the user's home. A relative path is ignored, as XDG
/// requires.
fs::path baseDirectory(const char* variable, const fs::path& usual)
{
    const char* named = std::getenv(variable);
    if (named && *named == '/')
        return named;
    const char* home = std::getenv("HOME");
    if (!home || !*home) {
        const passwd* user = getpwuid(getuid());
        home = user ? user->pw_dir : "/";
    }
    return fs::path(home) / usual;
}

} // namespace

fs::path dataFolder()
{
    return baseDirectory("XDG_DATA_HOME", ".local/share") / "OrvoVideo";
}

fs::path configurationHome()
{
    return baseDirectory("XDG_CONFIG_HOME", ".config");
}

} // namespace orvo
