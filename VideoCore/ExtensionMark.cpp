#include "VideoCore/ExtensionMark.h"

#include "VideoCore/UserFolders.h"

#include <fstream>

namespace orvo::ExtensionMark {

namespace fs = std::filesystem;

namespace {

fs::path file()
{
    return dataFolder() / "extension-connected";
}

} // namespace

bool exists()
{
    std::error_code ignored;
    return fs::exists(file(), ignored);
}

bool leave() noexcept
{
    try {
        if (exists())
            return false;
        fs::create_directories(file().parent_path());
        return std::ofstream(file()).good();
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace orvo::ExtensionMark
