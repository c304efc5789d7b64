#include "VideoMedia/CopyFile.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/UniqueFd.h"
#include "VideoCore/Utf8.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <format>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace orvo {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t copyStep = std::size_t{8} << 20; ///< Bytes between two checks of the stop token.

[[noreturn]] void fail(const fs::path& file)
{
    throw fs::filesystem_error("copy", file, std::error_code(errno, std::system_category()));
}

UniqueFd open(const fs::path& path, int flags)
{
    UniqueFd file(::open(path.c_str(), flags | O_CLOEXEC, 0666));
    if (!file)
        fail(path);
    return file;
}

void writeAll(int descriptor, const char* data, std::size_t size, const fs::path& file)
{
    while (size > 0) {
        const ssize_t written = ::write(descriptor, data, size);
        if (written < 0 && errno != EINTR)
            fail(file);
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        }
    }
}

} // namespace

void copyFile(const fs::path& from, const fs::path& to, const ProgressCallback& progress, const std::stop_token& stop)
{
    const UniqueFd source = open(from, O_RDONLY);
    struct stat facts{};
    if (::fstat(source.get(), &facts) != 0)
        fail(from);
    if (!S_ISREG(facts.st_mode)) {
        errno = S_ISDIR(facts.st_mode) ? EISDIR : EINVAL;
        fail(from);
    }
    const UniqueFd target = open(to, O_WRONLY | O_CREAT | O_EXCL);
    try {
        const auto total = static_cast<double>(facts.st_size);
        double copied = 0;
        std::vector<char> buffer; // Used only if the file system cannot copy by itself.
        for (;;) {
            if (stop.stop_requested())
                throw Cancelled();
            ssize_t got = buffer.empty() ? ::copy_file_range(source.get(), nullptr, target.get(), nullptr, copyStep, 0) : -1;
            if (got < 0 && buffer.empty()) {
                if (errno == EINTR)
                    continue;
                if (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
                    fail(to);
                buffer.resize(copyStep);
            }
            if (!buffer.empty()) {
                got = ::read(source.get(), buffer.data(), buffer.size());
                if (got < 0 && errno == EINTR)
                    continue;
                if (got < 0)
                    fail(from);
                writeAll(target.get(), buffer.data(), static_cast<std::size_t>(got), to);
            }
            if (got == 0)
                break;
            copied += static_cast<double>(got);
            if (progress && total > 0)
                progress(std::min(copied / total, 1.0));
        }
        // The document that names this file must not reach the disk first.
        if (::fsync(target.get()) != 0)
            fail(to);
        flushFolder(to.parent_path());
    } catch (...) {
        ::unlink(to.c_str());
        throw;
    }
}

std::string newMediaName(const fs::path& file)
{
    if (!fs::is_regular_file(file)) {
        // Opening a pipe would wait for a writer.
        throw fs::filesystem_error("copy", file,
            std::make_error_code(fs::is_directory(file) ? std::errc::is_a_directory
                    : fs::exists(file)                  ? std::errc::invalid_argument
                                                        : std::errc::no_such_file_or_directory));
    }
    const std::string extension = file.has_extension() ? file.extension().string() : ".";
    if (!isUtf8(extension))
        throw captureError(std::format("El nombre «{}» no es UTF-8 válido.", file.filename().string()));
    return std::format("{}/{}{}", ProjectStore::mediaName, Uuid::random().text(), extension);
}

} // namespace orvo
