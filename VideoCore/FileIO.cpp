#include "VideoCore/FileIO.h"

#include "VideoCore/Uuid.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const char* action, const fs::path& file)
{
    throw fs::filesystem_error(action, file, std::error_code(errno, std::system_category()));
}

class Descriptor {
public:
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    ~Descriptor()
    {
        if (m_number >= 0)
            ::close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_number; }

    /// Closes now, to hear of an error that only shows then. Returns what close(2) does.
    int close() { return ::close(std::exchange(m_number, -1)); }

private:
    int m_number;
};

void writeAll(int descriptor, std::string_view content, const fs::path& file)
{
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written > 0)
            content.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            fail("write", file);
    }
}

void flushFolder(const fs::path& folder)
{
    const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A file system that cannot flush a folder answers EINVAL: there is nothing more to be done then.
    if (descriptor.get() < 0 || (::fsync(descriptor.get()) != 0 && errno != EINVAL))
        fail("fsync", folder);
}

} // namespace

void readFile(const fs::path& file, std::string& out)
{
    const Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat facts{};
    if (descriptor.get() < 0 || ::fstat(descriptor.get(), &facts) != 0)
        fail("open", file);
    if (!S_ISREG(facts.st_mode)) {
        errno = S_ISDIR(facts.st_mode) ? EISDIR : EINVAL;
        fail("open", file);
    }
    out.clear();
    std::size_t room = static_cast<std::size_t>(facts.st_size) + 1; // One more, to meet the end without another round.
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
    const fs::path folder = file.parent_path().empty() ? fs::path(".") : file.parent_path();
    // Short and of its own making: the file's own name may already be as long as a name can be.
    const fs::path temporary = folder / ("." + Uuid::random().text() + ".tmp");

    mode_t mode = 0666;
    struct stat old{};
    const bool replaces = ::stat(file.c_str(), &old) == 0;
    if (replaces)
        mode = old.st_mode & 07777;
    try {
        Descriptor descriptor(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        if (descriptor.get() < 0)
            fail("open", file);
        if (replaces)
            static_cast<void>(::fchmod(descriptor.get(), mode));
        writeAll(descriptor.get(), content, file);
        if (::fsync(descriptor.get()) != 0)
            fail("fsync", file);
        if (descriptor.close() != 0)
            fail("close", file);
        if (::rename(temporary.c_str(), file.c_str()) != 0)
            fail("rename", file);
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
    flushFolder(folder);
}

} // namespace orvo
