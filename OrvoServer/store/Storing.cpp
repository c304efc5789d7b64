#include "OrvoServer/store/Storing.h"

#include "OrvoServer/base/Crypto.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <ranges>

namespace orvo::server {

Storing::Storing(Catalogue& catalogue, Uploads& uploads, BlobStore& store, FileSource& source, Log& log, Metrics& metrics)
    : m_catalogue(catalogue)
    , m_uploads(uploads)
    , m_store(store)
    , m_source(source)
    , m_log(log)
    , m_metrics(metrics)
    , m_thread([this](const std::stop_token& stop) { work(stop); })
{
}

Storing::~Storing() = default;

void Storing::add(const std::string& revision)
{
    const std::scoped_lock lock(m_mutex);
    if (std::ranges::contains(m_queue, revision))
        return;
    m_queue.push_back(revision);
    m_added.notify_one();
}

void Storing::work(const std::stop_token& stop)
{
    while (true) {
        std::string revision;
        {
            std::unique_lock lock(m_mutex);
            if (!m_added.wait(lock, stop, [this] { return !m_queue.empty(); }))
                return;
            revision = std::move(m_queue.front());
            m_queue.pop_front();
        }
        try {
            storeRevision(revision, stop);
        } catch (const Cancelled&) {
            return;
        } catch (const std::exception& error) {
            ++m_metrics.failedStores;
            m_log.error("storing-failed", {{"reason", std::string_view(error.what())}});
        }
    }
}

void Storing::storeRevision(const std::string& revision, const std::stop_token& stop)
{
    for (const auto& file : m_catalogue.waitingFiles(revision)) {
        if (stop.stop_requested())
            return;
        try {
            storeFile(file, stop);
            ++m_metrics.storedFiles;
        } catch (const DatabaseError&) {
            throw;
        } catch (const std::exception& error) {
            ++m_metrics.failedStores;
            m_log.warning("file-not-stored", {{"reason", std::string_view(error.what())}});
            m_catalogue.markFailed(file.upload, describe(error));
        }
    }
    noteDuration(revision, stop);
}

void Storing::storeFile(const FileRecord& file, const std::stop_token& stop)
{
    if (!file.isVerified) {
        if (!m_uploads.verify(file, stop)) {
            m_catalogue.markWrong(file.upload, "El archivo «" + file.path + "» ha llegado dañado. Vuelve a publicar.");
            return;
        }
        m_catalogue.markReceived(file.upload, true);
    }
    if (!m_catalogue.linkHeld(file.upload)) {
        // Keys are never reused, so removing an old content cannot remove a new one.
        const std::string key = file.sha256.substr(0, 2) + "/" + file.sha256 + "-" + randomText(6);
        m_catalogue.reserveKey(key);
        m_store.put(key, m_uploads.pathOf(file.upload), stop);
        m_catalogue.markStored(file.upload, key);
    }
    m_uploads.discard(file.upload);
}

void Storing::noteDuration(const std::string& revision, const std::stop_token& stop)
{
    const auto entry = m_catalogue.playlistOf(revision);
    if (!entry)
        return;
    try {
        const auto file = m_source.open(entry->key, entry->size, stop);
        std::string text(std::min<std::uint64_t>(file->size(), std::uint64_t{4} << 20U), '\0');
        const ssize_t count = ::pread(file->descriptor(), text.data(), text.size(), 0);
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        m_catalogue.setDuration(revision, playlistDuration(text));
    } catch (const std::exception&) {
        // The author's list then lacks the duration.
    }
}

std::int64_t playlistDuration(std::string_view playlist)
{
    constexpr std::string_view tag = "#EXTINF:";
    double seconds = 0;
    for (const auto part : std::views::split(playlist, '\n')) {
        const std::string_view line(part);
        double length = 0;
        if (line.starts_with(tag)
            && std::from_chars(line.data() + tag.size(), line.data() + line.size(), length).ec == std::errc() && length > 0
            && length < 1e6)
            seconds += length;
    }
    return static_cast<std::int64_t>(seconds * 1000);
}

} // namespace orvo::server
