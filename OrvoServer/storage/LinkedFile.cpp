#include "OrvoServer/storage/LinkedFile.h"

#include "VideoCore/FileIO.h"

#include <system_error>

namespace orvo::server {

namespace fs = std::filesystem;

void linkOrCopy(const fs::path& file, const fs::path& target)
{
    std::error_code error;
    fs::create_hard_link(file, target, error);
    if (!error || error == std::errc::file_exists)
        return;
    const fs::path part = target.string() + ".part";
    try {
        fs::copy_file(file, part, fs::copy_options::overwrite_existing);
        flushFile(part);
        fs::rename(part, target);
    } catch (...) {
        fs::remove(part, error);
        throw;
    }
}

} // namespace orvo::server
