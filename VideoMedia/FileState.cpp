#include "VideoMedia/FileState.h"

#include <format>
#include <sys/stat.h>

namespace orvo {

std::string fileState(const std::filesystem::path& file)
{
    struct stat facts{};
    if (::stat(file.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode))
        return {};
    return std::format("{}:{}.{:09}", facts.st_size, facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec);
}

} // namespace orvo
