#pragma once

#include "OrvoServer/store/Catalogue.h"
#include "OrvoServer/viewers/Domains.h"

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace orvo::server {

/// The state of a video that viewers may see.
struct LiveVideo {
    bool isPublished = false;
    VideoRecord record; ///< Empty for an unknown video.
    AuthorisedDomains domains;
};

/// Caches videos and manifests, so that a segment costs no query. Changes by other programs on the same database take
/// effect within two seconds, our own at once. Thread-safe.
class LiveVideos {
public:
    explicit LiveVideos(Catalogue& catalogue)
        : m_catalogue(catalogue)
    {
    }

    /// Return null when the value must be loaded. Do not block.
    std::shared_ptr<const LiveVideo> fresh(const std::string& video);
    std::shared_ptr<const Manifest> freshManifest(const std::string& revision);

    /// Block, and throw `DatabaseError`. The manifest is null when the revision is not available to viewers.
    std::shared_ptr<const LiveVideo> load(const std::string& video);
    std::shared_ptr<const Manifest> loadManifest(const std::string& revision);

    /// Call after a change.
    void forget(const std::string& video);

private:
    using Moment = std::chrono::steady_clock::time_point;
    template <class T> struct Entry {
        std::shared_ptr<const T> value;
        Moment until;
    };

    Catalogue& m_catalogue;
    std::mutex m_mutex; ///< Guards the members below.
    std::map<std::string, Entry<LiveVideo>, std::less<>> m_videos;
    std::map<std::string, Entry<Manifest>, std::less<>> m_manifests;
    std::uint64_t m_changes = 0; ///< Detects changes during a load, whose result is then not cached.
};

} // namespace orvo::server
