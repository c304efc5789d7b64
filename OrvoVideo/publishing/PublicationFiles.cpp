#include "OrvoVideo/publishing/PublicationFiles.h"

#include "VideoCore/Error.h"
#include "VideoMedia/Sha256.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <format>
#include <set>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t hashPiece = std::size_t{64} << 10; ///< Bytes; fits into the processor's cache.

[[noreturn]] void fail(const char* action, const fs::path& file, int code)
{
    throw fs::filesystem_error(action, file, std::error_code(code, std::system_category()));
}

[[noreturn]] void failChanged()
{
    throw captureError("El archivo de vídeo ha cambiado durante la subida.");
}

bool isSameTime(const timespec& one, const timespec& other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

/// The handling of an unreadable folder.
enum class Unreadable : std::uint8_t {
    left, ///< Skip the rest of it and continue.
    failure,
};

/// Adds the regular files in a folder and below. Throws `std::filesystem::filesystem_error` with `Unreadable::failure`.
void addRegularFiles(const fs::path& folder, Unreadable unreadable, std::vector<fs::path>& files)
{
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        std::error_code unknown;
        const auto type = entry->symlink_status(unknown).type();
        if (type == fs::file_type::regular)
            files.push_back(entry->path());
        else if (type == fs::file_type::directory)
            addRegularFiles(entry->path(), unreadable, files);
        else if (unknown && unreadable == Unreadable::failure)
            throw fs::filesystem_error("read", entry->path(), unknown);
    }
    if (error && unreadable == Unreadable::failure)
        throw fs::filesystem_error("read", folder, error);
}

/// The regular files in a folder and below, sorted by path.
std::vector<fs::path> regularFiles(const fs::path& folder, Unreadable unreadable)
{
    std::vector<fs::path> files;
    addRegularFiles(folder, unreadable, files);
    std::ranges::sort(files);
    return files;
}

/// Collects the files.
class Collector {
public:
    Collector(const VideoProject& project, const ProjectStore& store, const std::stop_token& stop)
        : m_project(project)
        , m_store(store)
        , m_stop(stop)
        , m_buffer(hashPiece)
    {
    }

    void addFolder(const fs::path& folder, const std::string& prefix, std::string_view role)
    {
        // A package with a missing file would be published as if it were complete.
        const auto unreadable = role == streamRole ? Unreadable::failure : Unreadable::left;
        for (const auto& file : regularFiles(folder, unreadable))
            add(file, prefix + file.lexically_relative(folder).string(), role);
    }

    void add(fs::path location, std::string path, std::string_view role)
    {
        if (!m_taken.insert(path).second)
            return;
        if (role == sourceRole)
            location = m_store.mediaURL(m_project, path);
        if (fs::file_size(location) < 1)
            return;
        auto file = std::make_shared<const FrozenFile>(location);
        PublicationFile entry{.path = std::move(path), .location = std::move(location), .role = role};
        entry.sha256 = hash(*file, entry.size);
        entry.facts = file->facts();
        if (!file->isUnchanged() || entry.size != file->size())
            failChanged();
        if (role == projectRole)
            entry.kept = std::move(file);
        m_files.push_back(std::move(entry));
    }

    std::vector<PublicationFile> take() { return std::move(m_files); }

    static constexpr std::string_view sourceRole = "source";
    static constexpr std::string_view projectRole = "project";
    static constexpr std::string_view streamRole = "stream";

private:
    std::string hash(const FrozenFile& file, std::int64_t& size)
    {
        Sha256 sum;
        size = 0;
        while (const std::size_t count = file.read(size, m_buffer)) {
            if (m_stop.stop_requested())
                throw Cancelled();
            sum.add({m_buffer.data(), count});
            size += static_cast<std::int64_t>(count);
        }
        return sum.finish();
    }

    const VideoProject& m_project;
    const ProjectStore& m_store;
    const std::stop_token& m_stop;
    std::vector<char> m_buffer;
    std::set<std::string> m_taken;
    std::vector<PublicationFile> m_files;
};

} // namespace

FrozenFile::FrozenFile(const fs::path& location)
    : m_location(location)
    , m_file(::open(location.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
{
    if (!m_file)
        fail("open", location, errno);
    const int code = ::fstat(m_file.get(), &m_facts) != 0 ? errno : S_ISREG(m_facts.st_mode) ? 0 : EINVAL;
    if (code != 0)
        fail("open", location, code);
}

bool FrozenFile::isSame(const struct stat& other) const
{
    return m_facts.st_dev == other.st_dev && m_facts.st_ino == other.st_ino && m_facts.st_size == other.st_size
        && isSameTime(m_facts.st_mtim, other.st_mtim);
}

std::size_t FrozenFile::read(std::int64_t offset, std::span<char> into) const
{
    std::size_t count = 0;
    while (count < into.size()) {
        const ssize_t got =
            ::pread(m_file.get(), into.data() + count, into.size() - count, offset + static_cast<std::int64_t>(count));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            fail("read", m_location, errno);
        if (got == 0)
            break;
        count += static_cast<std::size_t>(got);
    }
    return count;
}

bool FrozenFile::isUnchanged() const
{
    struct stat facts{};
    return ::fstat(m_file.get(), &facts) == 0 && isSame(facts);
}

std::shared_ptr<const FrozenFile> PublicationFile::open() const
{
    auto file = kept ? kept : std::make_shared<const FrozenFile>(location);
    if (!file->isSame(facts) || !file->isUnchanged())
        failChanged();
    return file;
}

std::size_t readUnchanged(const FrozenFile& file, std::int64_t offset, std::span<char> into)
{
    const std::size_t count = file.read(offset, into);
    if (count == 0 || !file.isUnchanged())
        failChanged();
    return count;
}

std::vector<PublicationFile> publicationFiles(
    const VideoProject& project, const ProjectStore& store, const fs::path& hls, const std::stop_token& stop)
{
    const fs::path folder = store.directory(project.id);
    Collector collector(project, store, stop);
    collector.addFolder(folder / ProjectStore::mediaName, std::string(ProjectStore::mediaName) + "/", Collector::sourceRole);
    collector.add(folder / ProjectStore::documentName, std::string(ProjectStore::documentName), Collector::projectRole);
    collector.addFolder(hls, "hls/", Collector::streamRole);
    return collector.take();
}

std::string fingerprint(std::span<const PublicationFile> files)
{
    std::vector<std::string> lines;
    lines.reserve(files.size());
    for (const auto& file : files)
        lines.push_back(file.path + ":" + file.sha256);
    std::ranges::sort(lines);
    Sha256 sum;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0)
            sum.add(std::string_view("\n"));
        sum.add(lines[i]);
    }
    return sum.finish();
}

} // namespace orvo
