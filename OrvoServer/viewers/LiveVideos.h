#pragma once

#include "OrvoServer/store/Catalogue.h"
#include "OrvoServer/viewers/Domains.h"

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace orvo::server {

/// What viewers may see of a video at the moment.
struct LiveVideo {
    bool isPublished = false;
    VideoRecord record; ///< Empty for an unknown video.
    AuthorisedDomains domains;
};

/// Videos and manifests in memory, so that a segment costs no query. What other programs on the same database change takes
/// effect within two seconds, what this one changes at once. Any thread.
class LiveVideos {
public:
    explicit LiveVideos(Catalogue& catalogue)
        : m_catalogue(catalogue)
    {
    }

    /// Null when it has to be loaded. Do not block.
    std::shared_ptr<const LiveVideo> fresh(const std::string& video);
    std::shared_ptr<const Manifest> freshManifest(const std::string& revision);

    /// These block, and throw `DatabaseError`. The manifest is null when viewers cannot get the revision.
    std::shared_ptr<const LiveVideo> load(const std::string& video);
    std::shared_ptr<const Manifest> loadManifest(const std::string& revision);

    /// After a change.
    void forget(const std::string& video);

private:
    using Moment = std::chrono::steady_clock::time_point;
    template <class T> struct Entry {
        std::shared_ptr<const T> value;
        Moment until;
    };

    Catalogue& m_catalogue;
    std::mutex m_mutex; ///< Guards what follows.
    std::map<std::string, Entry<LiveVideo>, std::less<>> m_videos;
    std::map<std::string, Entry<Manifest>, std::less<>> m_manifests;
    std::uint64_t m_changes = 0; ///< A load that a change has overtaken is not kept.
};

} // namespace orvo::server
