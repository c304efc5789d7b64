#include "VideoMedia/PieceCache.h"

#include "VideoCore/FileLock.h"
#include "VideoCore/Uuid.h"
#include "VideoMedia/FileState.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <format>
#include <functional>
#include <iterator>
#include <span>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvo {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t digestLength = 64;
constexpr std::string_view unfinished = ".tmp"; ///< End of the names of files that are being copied.

bool isKept(std::string_view name)
{
    return name.size() == 2 * digestLength + 1 && name[digestLength] == '-';
}

/// A link to `from`, or a copy on another file system. Throws file system errors.
void linkOrCopy(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    fs::create_hard_link(from, to, error);
    if (error)
        fs::copy_file(from, to);
}

/// Throws `std::system_error` if the file cannot be read.
std::string digestOf(const fs::path& file)
{
    const UniqueFd opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!opened)
        throw std::system_error(errno, std::system_category());
    Sha256 sum;
    std::array<char, 1 << 16> block{};
    for (;;) {
        const ssize_t got = ::read(opened.get(), block.data(), block.size());
        if (got < 0)
            throw std::system_error(errno, std::system_category());
        if (got == 0)
            return sum.finish();
        sum.add(std::span(block.data(), static_cast<std::size_t>(got)));
    }
}

} // namespace

void PieceKey::add(std::string_view text)
{
    m_sum.add(std::format("{}:{}\n", text.size(), text)); // The length keeps adjacent texts apart.
}

void PieceKey::add(const Arguments& arguments)
{
    for (const auto& argument : arguments)
        add(argument);
}

void PieceKey::addFile(const fs::path& file)
{
    add(file.string());
    add(fileState(file));
}

fs::path PieceCache::defaultFolder()
{
    const auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return fs::path(value ? value : "");
    };
    fs::path base = variable("XDG_CACHE_HOME");
    if (!base.is_absolute()) // An invalid value is ignored.
        base = variable("HOME").empty() ? fs::path() : variable("HOME") / ".cache";
    return base.empty() ? fs::path() : base / "OrvoVideo" / "pieces";
}

PieceCache::PieceCache(fs::path folder)
    : m_folder(std::move(folder))
    , m_keeps(!m_folder.empty())
{
    std::error_code error;
    for (fs::directory_iterator entry(m_folder, error), end; !error && entry != end; entry.increment(error)) {
        std::string name = entry->path().filename().string();
        if (isKept(name))
            m_names.emplace(name.substr(0, digestLength), std::move(name));
    }
}

bool PieceCache::take(const std::string& key, const fs::path& target)
{
    std::vector<std::string> names;
    {
        const std::lock_guard lock(m_mutex);
        const auto [first, last] = m_names.equal_range(key);
        std::transform(first, last, std::back_inserter(names), [](const auto& entry) { return entry.second; });
    }
    for (const auto& name : names) {
        const fs::path kept = m_folder / name;
        std::error_code ignored;
        try {
            linkOrCopy(kept, target);
            if (digestOf(target) == std::string_view(name).substr(digestLength + 1)) {
                fs::last_write_time(kept, fs::file_time_type::clock::now(), ignored);
                return true;
            }
            fs::remove(kept, ignored); // Damaged.
        } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the caller renders the piece again.
        }
        fs::remove(target, ignored);
    }
    return false;
}

void PieceCache::keep(const std::string& key, const fs::path& file)
{
    const std::lock_guard lock(m_mutex);
    if (!m_keeps)
        return;
    const fs::path copy = m_folder / (Uuid::random().text() + std::string(unfinished));
    try {
        std::string name = key + "-" + digestOf(file);
        if (fs::create_directories(m_folder))
            fs::permissions(m_folder, fs::perms::owner_all); // The pieces show the recorded screen.
        linkOrCopy(file, copy);
        fs::rename(copy, m_folder / name);
        m_names.emplace(key, std::move(name));
    } catch (const std::exception&) {
        m_keeps = false; // A full disk or an inaccessible folder; the film does not need the cache.
        std::error_code ignored;
        fs::remove(copy, ignored);
    }
}

void PieceCache::trim(std::uintmax_t limit)
{
    FileLock lock(UniqueFd(::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
    if (lock.descriptor() < 0 || !lock.tryLock())
        return;
    struct Kept {
        fs::file_time_type used;
        std::uintmax_t size;
        fs::path file;
    };
    std::vector<Kept> all;
    const auto abandoned = fs::file_time_type::clock::now() - std::chrono::days(1);
    std::error_code error;
    for (fs::directory_iterator entry(m_folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code gone;
        const auto used = entry->last_write_time(gone);
        const auto size = gone ? 0 : entry->file_size(gone);
        if (gone)
            continue;
        const std::string name = entry->path().filename().string();
        if (isKept(name))
            all.push_back({.used = used, .size = size, .file = entry->path()});
        else if (name.ends_with(unfinished) && used < abandoned)
            fs::remove(entry->path(), gone);
    }
    std::ranges::sort(all, std::greater(), &Kept::used);
    std::uintmax_t total = 0;
    for (const auto& one : all) {
        total += one.size;
        if (total > limit)
            fs::remove(one.file, error);
    }
}

} // namespace orvo
