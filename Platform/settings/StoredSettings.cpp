#include "Platform/settings/StoredSettings.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/FileLock.h"
#include "VideoCore/UserFolders.h"

#include <condition_variable>
#include <cstdlib>
#include <format>
#include <memory>
#include <mutex>
#include <new>
#include <stop_token>
#include <system_error>
#include <thread>
#include <utility>
#include <yyjson.h>

namespace orvo::StoredSettings {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t maxFileBytes = std::size_t{1} << 20;

struct Free {
    void operator()(yyjson_doc* document) const { yyjson_doc_free(document); }
    void operator()(yyjson_mut_doc* document) const { yyjson_mut_doc_free(document); }
    void operator()(char* text) const { std::free(text); } // NOLINT(*-no-malloc,*-owning-memory): yyjson allocates so.
};
using Document = std::unique_ptr<yyjson_doc, Free>;

fs::path configurationFolder()
{
    return configurationHome() / "OrvoVideo";
}

/// Locks the settings against other programs.
FileLock lockSettings(const fs::path& folder)
{
    FileLock lock = openFolderLock(folder);
    lock.lock();
    return lock;
}

/// The stored settings; null when the file is missing or damaged. Throws when it cannot be read.
Document read(const fs::path& file)
{
    std::string text;
    try {
        readFile(file, text, maxFileBytes);
    } catch (const fs::filesystem_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory || error.code() == std::errc::file_too_large)
            return nullptr;
        throw;
    }
    Document document(yyjson_read(text.data(), text.size(), 0));
    return yyjson_is_obj(yyjson_doc_get_root(document.get())) ? std::move(document) : nullptr;
}

/// Renames a damaged file instead of overwriting it: the user may have written it by hand.
void keepDamaged(const fs::path& file)
{
    fs::path kept = file.parent_path() / "settings.damaged.json";
    for (int number = 2; fs::exists(fs::symlink_status(kept)); ++number)
        kept.replace_filename(std::format("settings.damaged-{}.json", number));
    fs::rename(file, kept);
}

/// Adds `values` to those in `file`.
void store(const fs::path& file, const Values& values, Present present)
{
    const fs::path folder = file.parent_path();
    fs::create_directories(folder);
    const FileLock lock = lockSettings(folder);
    const Document old = read(file);
    const std::unique_ptr<yyjson_mut_doc, Free> document(
        old ? yyjson_doc_mut_copy(old.get(), nullptr) : yyjson_mut_doc_new(nullptr));
    if (!document)
        throw std::bad_alloc();
    if (!old)
        yyjson_mut_doc_set_root(document.get(), yyjson_mut_obj(document.get()));
    auto* root = yyjson_mut_doc_get_root(document.get());
    for (const auto& [key, value] : values) {
        if (present == Present::kept && yyjson_mut_obj_getn(root, key.data(), key.size()))
            continue;
        if (!yyjson_mut_obj_put(root, yyjson_mut_strncpy(document.get(), key.data(), key.size()),
                yyjson_mut_strncpy(document.get(), value.data(), value.size())))
            throw std::bad_alloc();
    }
    std::size_t length = 0;
    const std::unique_ptr<char, Free> text(
        yyjson_mut_write(document.get(), YYJSON_WRITE_PRETTY_TWO_SPACES | YYJSON_WRITE_NEWLINE_AT_END, &length));
    if (!text)
        throw captureError("El valor no es UTF-8 válido.");
    if (!old && fs::exists(fs::symlink_status(file)))
        keepDamaged(file);
    writeFileAtomically(file, {text.get(), length});
}

/// Writes remembered values on its own thread. The newest value of each setting wins.
class Writer {
public:
    static Writer& instance()
    {
        static Writer writer;
        return writer;
    }

    void put(std::string_view key, std::string_view value)
    {
        const std::scoped_lock lock(m_mutex);
        auto& waiting = m_waiting[file()];
        waiting.insert_or_assign(std::string(key), std::string(value));
        if (const auto unwritten = m_unwritten.extract(file()))
            waiting.merge(unwritten.mapped());
        if (!m_thread.joinable())
            m_thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
        m_changed.notify_all();
    }

    /// The remembered value of a setting; nullopt if it is already in the file.
    std::optional<std::string> value(std::string_view key)
    {
        const std::scoped_lock lock(m_mutex);
        for (const auto* files : {&m_waiting, &m_writing, &m_unwritten}) {
            const auto values = files->find(file());
            if (values == files->end())
                continue;
            if (const auto found = values->second.find(key); found != values->second.end())
                return found->second;
        }
        return std::nullopt;
    }

    void finish()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_waiting.empty() && m_writing.empty(); });
    }

private:
    using Files = std::map<fs::path, Values>;

    void run(const std::stop_token& stop)
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, stop, [this] { return !m_waiting.empty(); });
            if (m_waiting.empty())
                return; // Stopped after writing everything.
            m_writing = std::exchange(m_waiting, {});
            lock.unlock();
            Files failed;
            for (const auto& [file, values] : m_writing) {
                try {
                    store(file, values, Present::replaced);
                } catch (const std::exception&) {
                    failed.insert_or_assign(file, values);
                }
            }
            lock.lock();
            keepUnwritten(std::move(failed));
            m_writing.clear();
            m_changed.notify_all();
        }
    }

    /// Replaces older values of the same settings, also by those that have just been written. Called under the lock.
    void keepUnwritten(Files failed)
    {
        for (const auto& [file, values] : m_writing) {
            auto& unwritten = m_unwritten[file];
            for (const auto& [key, value] : values)
                unwritten.erase(key);
            if (const auto again = failed.extract(file))
                unwritten.merge(again.mapped());
        }
    }

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    Files m_waiting;
    Files m_writing; ///< Changed only by the thread, under the lock.
    Files m_unwritten;
    std::jthread m_thread; ///< Started by the first value. Last member: it uses the others until it ends.
};

} // namespace

fs::path file()
{
    return configurationFolder() / "settings.json";
}

std::optional<std::string> text(std::string_view key)
{
    if (auto remembered = Writer::instance().value(key))
        return remembered;
    try {
        const Document document = read(file());
        yyjson_val* value = yyjson_obj_getn(yyjson_doc_get_root(document.get()), key.data(), key.size());
        if (yyjson_is_str(value))
            return std::string(yyjson_get_str(value), yyjson_get_len(value));
    } catch (const std::exception&) {
        // Unreadable settings count as unset; `setText` reports the error.
    }
    return std::nullopt;
}

void setText(std::string_view key, std::string_view value)
{
    setTexts({{std::string(key), std::string(value)}});
}

void setTexts(const Values& values, Present present)
{
    store(file(), values, present);
}

void remember(std::string_view key, std::string_view value)
{
    Writer::instance().put(key, value);
}

void finish()
{
    Writer::instance().finish();
}

} // namespace orvo::StoredSettings
