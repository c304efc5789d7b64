#include "OrvoServer/base/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace orvo::server {

std::shared_ptr<const OpenFile> OpenFile::open(const std::filesystem::path& file)
{
    const auto fail = [&](int error) {
        throw std::filesystem::filesystem_error("open", file, std::error_code(error, std::generic_category()));
    };
    UniqueFd descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status{};
    if (!descriptor || ::fstat(descriptor.get(), &status) != 0)
        fail(errno);
    if (!S_ISREG(status.st_mode))
        fail(EINVAL);
    return std::make_shared<const OpenFile>(std::move(descriptor), static_cast<std::uint64_t>(status.st_size));
}

} // namespace orvo::server
