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

/// Who may watch a video, as the author typed it.
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
    std::string revision; ///< The published one; empty for none.
    /// Counts what was taken away: a grant of an earlier epoch is void.
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
    bool isReceived = false; ///< Every byte is here, or the content was held before.
    bool isVerified = false;
};

struct RegisteredRevision {
    std::string id;
    std::vector<std::pair<std::string, std::string>> uploads; ///< Path and upload.
    std::uint64_t missingBytes = 0; ///< What the server does not hold yet.
};

/// The files of a revision that viewers get, by their path below "hls/".
struct Manifest {
    struct Entry {
        std::string key; ///< In the store.
        std::uint64_t size = 0;
    };

    std::string video;
    std::map<std::string, Entry, std::less<>> files;
};

/// A row of the author's list.
struct VideoSummary {
    VideoRecord video;
    std::string progress; ///< Of the newest revision that is not published: "open", "storing" or "error"; empty for none.
    std::uint64_t bytes = 0;
    std::optional<std::int64_t> milliseconds;
    std::int64_t createdAt = 0;
    std::int64_t updatedAt = 0;
    std::int64_t plays = 0;
};

enum class PublishResult : std::uint8_t { published, unknown, notReady };

/// Videos, their revisions and files. Every call is one transaction; calls block and throw `DatabaseError`.
///
/// A revision is open, then storing, then published; a later one makes it superseded, and withdrawing the video makes all of
/// them withdrawn. Identifiers are texts of this server: letters, digits, "-" and "_".
class Catalogue {
public:
    Catalogue(Database& database, const Clock& clock)
        : m_database(database)
        , m_clock(clock)
    {
    }

    /// Creates or updates a video. What is published keeps its title and access until the next publication.
    void announce(const std::string& video, const std::string& title, const Access& access);
    std::optional<VideoRecord> find(const std::string& video);
    /// Takes effect at once. Returns false for a video that is unknown or withdrawn.
    bool setAccess(const std::string& video, const Access& access);
    /// Also of an unknown video.
    void withdraw(const std::string& video);

    /// Registers a revision. Files whose content is stored already are ready at once. Returns nullopt for an unknown video.
    std::optional<RegisteredRevision> registerRevision(const std::string& video, const std::vector<AnnouncedFile>& files);
    /// nullopt when the revision cannot be continued: unknown, withdrawn, or collected.
    std::optional<std::vector<FileRecord>> filesOf(const std::string& revision);
    std::optional<FileRecord> findUpload(const std::string& upload);
    /// The video that a revision belongs to; nullopt when it cannot be continued.
    std::optional<std::string> videoOf(const std::string& revision);

    void markReceived(const std::string& upload, bool isVerified);
    /// The bytes were wrong: they have to be sent again.
    void markWrong(const std::string& upload, const std::string& error);
    void markFailed(const std::string& upload, const std::string& error);

    /// Makes the file ready when its content is stored already; returns whether it is.
    bool linkHeld(const std::string& upload);
    /// Reserves a key before anything is stored under it, so that it is removed when that is never finished.
    void reserveKey(const std::string& key);
    /// The content of the upload is stored under `key`, which was reserved.
    void markStored(const std::string& upload, const std::string& key);
    void setDuration(const std::string& revision, std::int64_t milliseconds);

    /// Clears errors and begins to store. Returns false when the revision cannot be continued.
    bool retry(const std::string& revision);
    /// Files that are here and wait to be stored.
    std::vector<FileRecord> waitingFiles(const std::string& revision);
    std::vector<std::string> storingRevisions();

    /// Makes a revision the one that viewers get, with what the last `announce` said. Repeating it changes nothing.
    PublishResult publish(const std::string& revision);

    /// nullopt unless viewers may get the revision: published or superseded.
    std::optional<Manifest> manifestOf(const std::string& revision);

    /// A stored media playlist of a revision.
    std::optional<Manifest::Entry> playlistOf(const std::string& revision);

    struct Page {
        std::uint64_t offset = 0;
        std::uint64_t limit = 200;
        std::string search; ///< In the title.
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
