#include "VideoCore/FileIO.h"

#include "VideoCore/UniqueFd.h"
#include "VideoCore/Uuid.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace orvo {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const char* action, const fs::path& file)
{
    throw fs::filesystem_error(action, file, std::error_code(errno, std::system_category()));
}

void writeAll(const UniqueFd& descriptor, std::string_view content, const fs::path& file)
{
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor.get(), content.data(), content.size());
        if (written >= 0)
            content.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            fail("write", file);
    }
}

UniqueFd openFolder(const fs::path& folder, const fs::path& concerned)
{
    UniqueFd descriptor(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor)
        fail("open", concerned);
    return descriptor;
}

void flush(const UniqueFd& folder, const fs::path& concerned)
{
    // EINVAL: the file system cannot flush folders.
    if (::fsync(folder.get()) != 0 && errno != EINVAL)
        fail("fsync", concerned);
}

} // namespace

void readFile(const fs::path& file, std::string& out, std::size_t limit)
{
    // Opening a pipe would wait for a writer.
    const UniqueFd descriptor(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat facts{};
    if (descriptor.get() < 0 || ::fstat(descriptor.get(), &facts) != 0)
        fail("open", file);
    if (!S_ISREG(facts.st_mode)) {
        errno = S_ISDIR(facts.st_mode) ? EISDIR : EINVAL;
        fail("open", file);
    }
    if (static_cast<std::size_t>(facts.st_size) > limit) {
        errno = EFBIG;
        fail("read", file);
    }
    out.clear();
    // Extra room: to reach the end in one read, and for the padding that a parser appends.
    std::size_t room = static_cast<std::size_t>(facts.st_size) + 64;
    for (;;) {
        const std::size_t used = out.size();
        ssize_t got = 0;
        out.resize_and_overwrite(used + room, [&](char* data, std::size_t) {
            do
                got = ::read(descriptor.get(), data + used, room);
            while (got < 0 && errno == EINTR);
            return used + static_cast<std::size_t>(got > 0 ? got : 0);
        });
        if (got < 0)
            fail("read", file);
        if (got == 0)
            return;
        room = std::size_t{1} << 16;
        if (static_cast<std::size_t>(facts.st_size) > out.size())
            room = static_cast<std::size_t>(facts.st_size) - out.size() + 1;
    }
}

std::string readFile(const fs::path& file)
{
    std::string content;
    readFile(file, content);
    return content;
}

void writeFileAtomically(const fs::path& file, std::string_view content)
{
    const UniqueFd folder = openFolder(file.parent_path(), file);
    const std::string name = file.filename();
    // A short name of its own: the file's name may already have the maximum length.
    const std::string temporary = "." + Uuid::random().text() + ".tmp";

    struct stat old{};
    const bool replaces = ::fstatat(folder.get(), name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(old.st_mode);
    const mode_t mode = replaces ? old.st_mode & 0777 : 0666;
    UniqueFd descriptor(::openat(folder.get(), temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!descriptor)
        fail("open", file);
    try {
        if (replaces)
            static_cast<void>(::fchmod(descriptor.get(), mode)); // The umask narrows the mode of a new file.
        writeAll(descriptor, content, file);
        if (::fsync(descriptor.get()) != 0)
            fail("fsync", file);
        if (descriptor.close() != 0)
            fail("close", file);
        if (::renameat(folder.get(), temporary.c_str(), folder.get(), name.c_str()) != 0)
            fail("rename", file);
    } catch (...) {
        ::unlinkat(folder.get(), temporary.c_str(), 0);
        throw;
    }
    flush(folder, file);
}

void flushFile(const fs::path& file)
{
    const UniqueFd descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor)
        fail("open", file);
    if (::fsync(descriptor.get()) != 0)
        fail("fsync", file);
}

void flushFolder(const fs::path& folder)
{
    flush(openFolder(folder, folder), folder);
}

} // namespace orvo
