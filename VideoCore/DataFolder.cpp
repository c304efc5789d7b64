#include "VideoCore/DataFolder.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace orvo {

namespace fs = std::filesystem;

fs::path dataFolder()
{
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data && *data == '/')
        return fs::path(data) / "OrvoVideo";
    const char* home = std::getenv("HOME");
    if (!home || !*home) {
        const passwd* user = getpwuid(getuid());
        home = user ? user->pw_dir : "/";
    }
    return fs::path(home) / ".local" / "share" / "OrvoVideo";
}

} // namespace orvo
