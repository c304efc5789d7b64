#pragma once

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/store/Database.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::server {

/// The access rules of a video: domains as the author typed them, and the public link.
struct Access {
    std::vector<std::string> domains;
    bool publicLink = false;

    friend bool operator==(const Access&, const Access&) = default;
};

struct VideoRecord {
    std::string id;
    std::string title;
    Access access;
    std::string state; ///< "new" before the first publication, "published" or "withdrawn".
    std::string revision; ///< The published one; empty if there is none.
    /// Epochs advance when access is withdrawn, which invalidates tickets and grants of earlier epochs.
    std::int64_t embedEpoch = 0;
    std::int64_t watchEpoch = 0;
};

struct AnnouncedFile {
    std::string path;
    std::string role;
    std::uint64_t size = 0;
    std::string sha256;
};

struct FileRecord {
    std::string upload;
    std::string revision;
    std::string path;
    std::uint64_t size = 0;
    std::string sha256;
    std::string status; ///< "pending", "ready" or "error".
    std::string error;
    bool isReceived = false; ///< All bytes have arrived, or the store already had the content.
    bool isVerified = false;
};

struct RegisteredRevision {
    std::string id;
    std::vector<std::pair<std::string, std::string>> uploads; ///< Pairs of path and upload.
    std::uint64_t missingBytes = 0; ///< Bytes that the server does not hold yet.
};

/// The files of a revision that viewers get, by their path below "hls/".
struct Manifest {
    struct Entry {
        std::string key; ///< The key in the store.
        std::uint64_t size = 0;
    };

    std::string video;
    std::map<std::string, Entry, std::less<>> files;
};

/// A row of the author's list.
struct VideoSummary {
    VideoRecord video;
    std::string progress; ///< State of the newest unpublished revision: "open", "storing" or "error"; else empty.
    std::uint64_t bytes = 0;
    std::optional<std::int64_t> milliseconds;
    std::int64_t createdAt = 0;
    std::int64_t updatedAt = 0;
    std::int64_t plays = 0;
};

enum class PublishResult : std::uint8_t { published, unknown, notReady };

/// Videos, their revisions and files. Every call is one transaction; calls block and throw `DatabaseError`.
///
/// A revision is open, then storing, then published. The next publication supersedes it; withdrawing the video withdraws all
/// its revisions. The server creates the identifiers of revisions and uploads: letters, digits, "-" and "_".
class Catalogue {
public:
    Catalogue(Database& database, const Clock& clock)
        : m_database(database)
        , m_clock(clock)
    {
    }

    /// Creates or updates a video. A published video keeps its title and access until the next publication.
    void announce(const std::string& video, const std::string& title, const Access& access);
    std::optional<VideoRecord> find(const std::string& video);
    /// Takes effect at once. Returns false if the video is unknown or withdrawn.
    bool setAccess(const std::string& video, const Access& access);
    /// Ignores unknown videos.
    void withdraw(const std::string& video);

    /// Registers a revision. Files whose content is already stored are ready at once. Returns nullopt if the video is
    /// unknown or withdrawn.
    std::optional<RegisteredRevision> registerRevision(const std::string& video, const std::vector<AnnouncedFile>& files);
    /// Returns nullopt if the revision is unknown, withdrawn or collected.
    std::optional<std::vector<FileRecord>> filesOf(const std::string& revision);
    std::optional<FileRecord> findUpload(const std::string& upload);
    /// Returns the video of a revision, or nullopt like `filesOf`.
    std::optional<std::string> videoOf(const std::string& revision);

    void markReceived(const std::string& upload, bool isVerified);
    /// Records that the bytes were wrong, so the client must send them again.
    void markWrong(const std::string& upload, const std::string& error);
    void markFailed(const std::string& upload, const std::string& error);

    /// Marks the file ready if its content is already stored; returns whether it is.
    bool linkHeld(const std::string& upload);
    /// Call before storing under a key: schedules its removal, so that an unfinished file does not stay.
    void reserveKey(const std::string& key);
    /// Marks the file ready; its content is stored under the reserved `key`.
    void markStored(const std::string& upload, const std::string& key);
    void setDuration(const std::string& revision, std::int64_t milliseconds);

    /// Clears errors and marks an open revision as storing. Returns false where `filesOf` returns nullopt.
    bool retry(const std::string& revision);
    /// Files that have arrived and are not stored yet.
    std::vector<FileRecord> waitingFiles(const std::string& revision);
    std::vector<std::string> storingRevisions();

    /// Publishes a revision with the title and access of the last `announce`. Idempotent.
    PublishResult publish(const std::string& revision);

    /// Returns nullopt unless the revision is published or superseded.
    std::optional<Manifest> manifestOf(const std::string& revision);

    /// A stored media playlist of a revision.
    std::optional<Manifest::Entry> playlistOf(const std::string& revision);

    struct Page {
        std::uint64_t offset = 0;
        std::uint64_t limit = 200;
        std::string search; ///< Text to find in the title.
    };
    std::vector<VideoSummary> list(const Page& page, std::uint64_t& total);
    std::uint64_t storedBytes();

    std::optional<std::string> setting(const std::string& name);
    void setSetting(const std::string& name, const std::string& value);

private:
    std::optional<VideoRecord> find(Session& session, const std::string& video);
    void applyAccess(Session& session, const VideoRecord& video, const Access& access);

    Database& m_database;
    const Clock& m_clock;
};

} // namespace orvo::server
