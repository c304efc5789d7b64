#include "OrvoServer/viewers/LiveVideos.h"

namespace orvo::server {

namespace {

constexpr std::chrono::seconds videoLife(2);
constexpr std::chrono::seconds manifestLife(30);
constexpr std::size_t maxVideos = 20000;
constexpr std::size_t maxManifests = 200; ///< About 200 KiB each.

/// Removes expired entries from a full map, or all if none has expired.
void limit(auto& entries, std::size_t max)
{
    if (entries.size() < max)
        return;
    const auto now = std::chrono::steady_clock::now();
    std::erase_if(entries, [&](const auto& entry) { return entry.second.until < now; });
    if (entries.size() >= max)
        entries.clear();
}

template <class Entries> auto freshIn(Entries& entries, const std::string& key) -> decltype(entries.begin()->second.value)
{
    const auto found = entries.find(key);
    if (found == entries.end() || found->second.until < std::chrono::steady_clock::now())
        return nullptr;
    return found->second.value;
}

} // namespace

std::shared_ptr<const LiveVideo> LiveVideos::fresh(const std::string& video)
{
    const std::scoped_lock lock(m_mutex);
    return freshIn(m_videos, video);
}

std::shared_ptr<const Manifest> LiveVideos::freshManifest(const std::string& revision)
{
    const std::scoped_lock lock(m_mutex);
    return freshIn(m_manifests, revision);
}

std::shared_ptr<const LiveVideo> LiveVideos::load(const std::string& video)
{
    std::uint64_t changes = 0;
    {
        const std::scoped_lock lock(m_mutex);
        changes = m_changes;
    }
    auto live = std::make_shared<LiveVideo>();
    if (auto record = m_catalogue.find(video)) {
        live->isPublished = record->state == "published";
        live->domains = AuthorisedDomains::usable(record->access.domains);
        live->record = *std::move(record);
    }
    const std::scoped_lock lock(m_mutex);
    if (changes == m_changes) {
        limit(m_videos, maxVideos);
        m_videos.insert_or_assign(video, Entry<LiveVideo>{live, std::chrono::steady_clock::now() + videoLife});
    }
    return live;
}

std::shared_ptr<const Manifest> LiveVideos::loadManifest(const std::string& revision)
{
    auto loaded = m_catalogue.manifestOf(revision);
    if (!loaded)
        return nullptr;
    auto manifest = std::make_shared<const Manifest>(*std::move(loaded));
    const std::scoped_lock lock(m_mutex);
    limit(m_manifests, maxManifests);
    m_manifests.insert_or_assign(revision, Entry<Manifest>{manifest, std::chrono::steady_clock::now() + manifestLife});
    return manifest;
}

void LiveVideos::forget(const std::string& video)
{
    const std::scoped_lock lock(m_mutex);
    ++m_changes;
    m_videos.erase(video);
}

} // namespace orvo::server
