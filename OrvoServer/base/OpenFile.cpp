#include "OrvoServer/base/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace orvo::server {

std::shared_ptr<const OpenFile> OpenFile::open(const std::filesystem::path& file)
{
    const auto fail = [&](int error) {
        throw std::filesystem::filesystem_error("open", file, std::error_code(error, std::generic_category()));
    };
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0)
        fail(errno);
    auto opened = std::make_shared<OpenFile>(descriptor, 0);
    struct stat status{};
    if (::fstat(descriptor, &status) != 0)
        fail(errno);
    if (!S_ISREG(status.st_mode))
        fail(EINVAL);
    opened->m_size = static_cast<std::uint64_t>(status.st_size);
    return opened;
}

OpenFile::~OpenFile()
{
    ::close(m_descriptor);
}

} // namespace orvo::server
