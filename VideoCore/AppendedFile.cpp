#include "VideoCore/AppendedFile.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const char* action, const fs::path& file, int error)
{
    throw fs::filesystem_error(action, file, std::error_code(error, std::system_category()));
}

} // namespace

AppendedFile::AppendedFile(fs::path file)
    : m_path(std::move(file))
    , m_descriptor(::open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600))
{
    if (!m_descriptor)
        fail("create", m_path, errno);
}

void AppendedFile::append(std::string_view bytes)
{
    off_t end = m_length;
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(m_descriptor.get(), bytes.data(), bytes.size(), end);
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            end += written;
        } else if (errno != EINTR) {
            const int error = errno;
            // If this fails too, the next append overwrites the partial one.
            [[maybe_unused]] const int ignored = ::ftruncate(m_descriptor.get(), m_length);
            fail("write", m_path, error);
        }
    }
    m_length = end;
}

} // namespace orvo
