#include "OrvoServer/store/Catalogue.h"

#include "OrvoServer/base/Crypto.h"
#include "OrvoServer/base/Json.h"

#include <algorithm>

namespace orvo::server {

namespace {

constexpr std::string_view fileColumns =
    "SELECT upload, revision, path, size, sha256, status, error, received, verified FROM files ";

FileRecord fileOf(const Row& row)
{
    return {.upload = row[0].text(),
        .revision = row[1].text(),
        .path = row[2].text(),
        .size = static_cast<std::uint64_t>(row[3].number()),
        .sha256 = row[4].text(),
        .status = row[5].text(),
        .error = row[6].text(),
        .isReceived = row[7].number() != 0,
        .isVerified = row[8].number() != 0};
}

std::vector<FileRecord> filesOf(const std::vector<Row>& rows)
{
    std::vector<FileRecord> files;
    files.reserve(rows.size());
    for (const auto& row : rows)
        files.push_back(fileOf(row));
    return files;
}

bool canContinue(std::string_view state)
{
    return state == "open" || state == "storing" || state == "published" || state == "superseded";
}

std::string stateOf(Session& session, const std::string& revision)
{
    const auto rows = session.run("SELECT state FROM revisions WHERE id = $1", {revision});
    return rows.empty() ? std::string() : rows[0][0].text();
}

/// Marks a file as stored under `key`.
void linkFile(Session& session, const std::string& upload, const Value& key)
{
    session.run("UPDATE files SET status = 'ready', error = NULL, received = 1, verified = 1, blob = $2 WHERE upload = $1",
        {upload, key});
}

} // namespace

std::optional<VideoRecord> Catalogue::find(Session& session, const std::string& video)
{
    const auto rows = session.run(
        "SELECT id, title, domains, public_link, state, revision, embed_epoch, watch_epoch FROM videos WHERE id = $1",
        {video});
    if (rows.empty())
        return std::nullopt;
    const Row& row = rows[0];
    return VideoRecord{.id = row[0].text(),
        .title = row[1].text(),
        .access = {.domains = listFromJson(row[2].text()), .publicLink = row[3].number() != 0},
        .state = row[4].text(),
        .revision = row[5].text(),
        .embedEpoch = row[6].number(),
        .watchEpoch = row[7].number()};
}

std::optional<VideoRecord> Catalogue::find(const std::string& video)
{
    std::optional<VideoRecord> found;
    m_database.read([&](Session& session) { found = find(session, video); });
    return found;
}

void Catalogue::applyAccess(Session& session, const VideoRecord& video, const Access& access)
{
    const bool takesDomains = std::ranges::any_of(
        video.access.domains, [&](const auto& domain) { return !std::ranges::contains(access.domains, domain); });
    const bool takesLink = video.access.publicLink && !access.publicLink;
    session.run("UPDATE videos SET domains = $2, public_link = $3, embed_epoch = embed_epoch + $4,"
                " watch_epoch = watch_epoch + $5, updated_at = $6 WHERE id = $1",
        {video.id, listJson(access.domains), access.publicLink, takesDomains, takesLink, m_clock.now()});
}

void Catalogue::announce(const std::string& id, const std::string& title, const Access& access)
{
    m_database.write([&](Session& session) {
        const auto now = m_clock.now();
        const auto video = find(session, id);
        const std::string domains = listJson(access.domains);
        if (!video) {
            session.run("INSERT INTO videos(id, title, domains, public_link, state, embed_epoch, watch_epoch, created_at,"
                        " updated_at) VALUES($1, $2, $3, $4, 'new', 0, 0, $5, $5)",
                {id, title, domains, access.publicLink, now});
        } else if (video->state == "published") {
            session.run("UPDATE videos SET next_title = $2, next_domains = $3, next_public_link = $4 WHERE id = $1",
                {id, title, domains, access.publicLink});
        } else {
            applyAccess(session, *video, access);
            session.run("UPDATE videos SET title = $2, state = 'new' WHERE id = $1", {id, title});
        }
    });
}

bool Catalogue::setAccess(const std::string& id, const Access& access)
{
    bool isKnown = false;
    m_database.write([&](Session& session) {
        const auto video = find(session, id);
        isKnown = video && video->state != "withdrawn";
        if (!isKnown)
            return;
        applyAccess(session, *video, access);
        // Otherwise a publication in progress would restore the access that it announced.
        session.run("UPDATE videos SET next_domains = $2, next_public_link = $3 WHERE id = $1 AND next_title IS NOT NULL",
            {id, listJson(access.domains), access.publicLink});
    });
    return isKnown;
}

void Catalogue::withdraw(const std::string& video)
{
    m_database.write([&](Session& session) {
        const auto now = m_clock.now();
        session.run("UPDATE videos SET state = 'withdrawn', revision = NULL, next_title = NULL, next_domains = NULL,"
                    " next_public_link = NULL, embed_epoch = embed_epoch + 1, watch_epoch = watch_epoch + 1, updated_at = $2"
                    " WHERE id = $1 AND state <> 'withdrawn'",
            {video, now});
        session.run("UPDATE revisions SET state = 'withdrawn', touched_at = $2 WHERE video = $1 AND state <> 'withdrawn'",
            {video, now});
    });
}

std::optional<RegisteredRevision> Catalogue::registerRevision(
    const std::string& video, const std::vector<AnnouncedFile>& files)
{
    std::optional<RegisteredRevision> registered;
    m_database.write([&](Session& session) {
        const auto record = find(session, video);
        if (!record || record->state == "withdrawn")
            return;
        registered.emplace();
        registered->id = randomText(16);
        std::uint64_t bytes = 0;
        for (const auto& file : files)
            bytes += file.size;
        session.run(
            "INSERT INTO revisions(id, video, state, bytes, created_at, touched_at) VALUES($1, $2, 'open', $3, $4, $4)",
            {registered->id, video, bytes, m_clock.now()});
        std::int64_t position = 0;
        for (const auto& file : files) {
            const auto held = session.run("SELECT key FROM blobs WHERE sha256 = $1 AND size = $2", {file.sha256, file.size});
            const bool isHeld = !held.empty();
            const std::string upload = randomText(16);
            session.run("INSERT INTO files(upload, revision, position, path, role, size, sha256, status, received, verified,"
                        " blob) VALUES($1, $2, $3, $4, $5, $6, $7, $8, $9, $9, $10)",
                {upload, registered->id, position++, file.path, file.role, file.size, file.sha256,
                    isHeld ? "ready" : "pending", isHeld, isHeld ? held[0][0] : Value()});
            if (!isHeld)
                registered->missingBytes += file.size;
            registered->uploads.emplace_back(file.path, upload);
        }
    });
    return registered;
}

std::optional<std::vector<FileRecord>> Catalogue::filesOf(const std::string& revision)
{
    std::optional<std::vector<FileRecord>> files;
    m_database.read([&](Session& session) {
        if (canContinue(stateOf(session, revision)))
            files =
                server::filesOf(session.run(std::string(fileColumns) + "WHERE revision = $1 ORDER BY position", {revision}));
    });
    return files;
}

std::optional<FileRecord> Catalogue::findUpload(const std::string& upload)
{
    std::optional<FileRecord> file;
    m_database.read([&](Session& session) {
        const auto rows = session.run(std::string(fileColumns) + "WHERE upload = $1", {upload});
        if (!rows.empty() && canContinue(stateOf(session, rows[0][1].text())))
            file = fileOf(rows[0]);
    });
    return file;
}

std::optional<std::string> Catalogue::videoOf(const std::string& revision)
{
    std::optional<std::string> video;
    m_database.read([&](Session& session) {
        const auto rows = session.run("SELECT video, state FROM revisions WHERE id = $1", {revision});
        if (!rows.empty() && canContinue(rows[0][1].text()))
            video = rows[0][0].text();
    });
    return video;
}

void Catalogue::markReceived(const std::string& upload, bool isVerified)
{
    m_database.write([&](Session& session) {
        session.run(
            "UPDATE files SET received = 1, verified = $2 WHERE upload = $1 AND status <> 'ready'", {upload, isVerified});
        session.run("UPDATE revisions SET touched_at = $2 WHERE id = (SELECT revision FROM files WHERE upload = $1)",
            {upload, m_clock.now()});
    });
}

void Catalogue::markWrong(const std::string& upload, const std::string& error)
{
    m_database.write([&](Session& session) {
        session.run("UPDATE files SET received = 0, verified = 0, status = 'error', error = $2"
                    " WHERE upload = $1 AND status <> 'ready'",
            {upload, error});
    });
}

void Catalogue::markFailed(const std::string& upload, const std::string& error)
{
    m_database.write([&](Session& session) {
        session.run(
            "UPDATE files SET status = 'error', error = $2 WHERE upload = $1 AND status <> 'ready'", {upload, error});
    });
}

bool Catalogue::linkHeld(const std::string& upload)
{
    bool isHeld = false;
    m_database.write([&](Session& session) {
        const auto rows = session.run("SELECT b.key FROM files f JOIN blobs b ON b.sha256 = f.sha256 AND b.size = f.size"
                                      " WHERE f.upload = $1",
            {upload});
        isHeld = !rows.empty();
        if (isHeld)
            linkFile(session, upload, rows[0][0]);
    });
    return isHeld;
}

void Catalogue::reserveKey(const std::string& key)
{
    constexpr std::int64_t twoDays = 172800; // Longer than storing any file.
    m_database.write([&](Session& session) {
        session.run("INSERT INTO removals(key, due) VALUES($1, $2) ON CONFLICT(key) DO UPDATE SET due = excluded.due",
            {key, m_clock.now() + twoDays});
    });
}

void Catalogue::markStored(const std::string& upload, const std::string& key)
{
    m_database.write([&](Session& session) {
        const auto files = session.run("SELECT sha256, size FROM files WHERE upload = $1", {upload});
        if (files.empty()) // Collected meanwhile. The reservation removes the key later.
            return;
        session.run("INSERT INTO blobs(key, sha256, size, created_at) VALUES($1, $2, $3, $4) ON CONFLICT DO NOTHING",
            {key, files[0][0], files[0][1], m_clock.now()});
        // If two uploads store the same content at once, one key stays; its reservation removes the other later.
        const auto kept = session.run("SELECT key FROM blobs WHERE sha256 = $1 AND size = $2", {files[0][0], files[0][1]});
        session.run("DELETE FROM removals WHERE key = $1", {kept.at(0)[0]});
        linkFile(session, upload, kept.at(0)[0]);
    });
}

void Catalogue::setDuration(const std::string& revision, std::int64_t milliseconds)
{
    m_database.write([&](Session& session) {
        session.run("UPDATE revisions SET milliseconds = $2 WHERE id = $1", {revision, milliseconds});
    });
}

bool Catalogue::retry(const std::string& revision)
{
    bool isKnown = false;
    m_database.write([&](Session& session) {
        const std::string state = stateOf(session, revision);
        isKnown = canContinue(state);
        if (!isKnown)
            return;
        session.run(
            "UPDATE files SET status = 'pending', error = NULL WHERE revision = $1 AND status = 'error'", {revision});
        session.run("UPDATE revisions SET touched_at = $2 WHERE id = $1", {revision, m_clock.now()});
        session.run("UPDATE revisions SET state = 'storing' WHERE id = $1 AND state = 'open'", {revision});
    });
    return isKnown;
}

std::vector<FileRecord> Catalogue::waitingFiles(const std::string& revision)
{
    std::vector<FileRecord> files;
    m_database.read([&](Session& session) {
        files = server::filesOf(session.run(
            std::string(fileColumns) + "WHERE revision = $1 AND status = 'pending' AND received = 1 ORDER BY position",
            {revision}));
    });
    return files;
}

std::vector<std::string> Catalogue::storingRevisions()
{
    std::vector<std::string> revisions;
    m_database.read([&](Session& session) {
        for (const auto& row : session.run("SELECT id FROM revisions WHERE state = 'storing' ORDER BY created_at"))
            revisions.push_back(row[0].text());
    });
    return revisions;
}

PublishResult Catalogue::publish(const std::string& revision)
{
    auto result = PublishResult::unknown;
    m_database.write([&](Session& session) {
        const auto rows = session.run("SELECT video, state FROM revisions WHERE id = $1", {revision});
        if (rows.empty() || !canContinue(rows[0][1].text()))
            return;
        const std::string id = rows[0][0].text();
        const auto video = find(session, id);
        if (!video || video->state == "withdrawn")
            return;
        result = PublishResult::notReady;
        if (!session.run("SELECT upload FROM files WHERE revision = $1 AND status <> 'ready' LIMIT 1", {revision}).empty()
            || session
                .run("SELECT upload FROM files WHERE revision = $1 AND path = 'hls/master.m3u8' AND role = 'stream'",
                    {revision})
                .empty())
            return;
        result = PublishResult::published;
        const auto now = m_clock.now();
        const auto next = session.run("SELECT next_title, next_domains, next_public_link FROM videos WHERE id = $1", {id});
        if (!next.at(0)[0].isNull()) {
            applyAccess(
                session, *video, {.domains = listFromJson(next[0][1].text()), .publicLink = next[0][2].number() != 0});
            session.run(
                "UPDATE videos SET title = next_title, next_title = NULL, next_domains = NULL, next_public_link = NULL"
                " WHERE id = $1",
                {id});
        }
        if (video->state == "published" && video->revision == revision)
            return;
        session.run("UPDATE revisions SET state = 'superseded', touched_at = $2 WHERE video = $1 AND state = 'published'",
            {id, now});
        session.run("UPDATE revisions SET state = 'published', touched_at = $2 WHERE id = $1", {revision, now});
        session.run(
            "UPDATE videos SET state = 'published', revision = $2, updated_at = $3 WHERE id = $1", {id, revision, now});
    });
    return result;
}

std::optional<Manifest> Catalogue::manifestOf(const std::string& revision)
{
    std::optional<Manifest> manifest;
    m_database.read([&](Session& session) {
        const auto rows = session.run("SELECT video, state FROM revisions WHERE id = $1", {revision});
        if (rows.empty() || (rows[0][1].text() != "published" && rows[0][1].text() != "superseded"))
            return;
        manifest.emplace();
        manifest->video = rows[0][0].text();
        for (const auto& row :
            session.run("SELECT path, blob, size FROM files WHERE revision = $1 AND role = 'stream'", {revision})) {
            constexpr std::string_view folder = "hls/";
            if (row[0].text().starts_with(folder)) {
                manifest->files.emplace(row[0].text().substr(folder.size()),
                    Manifest::Entry{.key = row[1].text(), .size = static_cast<std::uint64_t>(row[2].number())});
            }
        }
    });
    return manifest;
}

std::optional<Manifest::Entry> Catalogue::playlistOf(const std::string& revision)
{
    std::optional<Manifest::Entry> entry;
    m_database.read([&](Session& session) {
        const auto rows =
            session.run("SELECT blob, size FROM files WHERE revision = $1 AND role = 'stream' AND status = 'ready'"
                        " AND path LIKE 'hls/%/index.m3u8' LIMIT 1",
                {revision});
        if (!rows.empty())
            entry = Manifest::Entry{.key = rows[0][0].text(), .size = static_cast<std::uint64_t>(rows[0][1].number())};
    });
    return entry;
}

std::vector<VideoSummary> Catalogue::list(const Page& page, std::uint64_t& total)
{
    // Escapes "%" and "_", which a search takes literally.
    std::string pattern = "%";
    for (const char c : page.search) {
        if (c == '%' || c == '_' || c == '!')
            pattern += '!';
        pattern += c;
    }
    pattern += '%';
    std::vector<VideoSummary> videos;
    m_database.read([&](Session& session) {
        total = static_cast<std::uint64_t>(
            session.run("SELECT count(*) FROM videos WHERE lower(title) LIKE lower($1) ESCAPE '!'", {pattern})
                .at(0)[0]
                .number());
        const auto rows = session.run(
            "SELECT v.id, v.title, v.domains, v.public_link, v.state, v.revision, v.created_at, v.updated_at, r.bytes,"
            " r.milliseconds, (SELECT sum(p.plays) FROM plays p WHERE p.video = v.id),"
            " (SELECT CASE WHEN EXISTS (SELECT 1 FROM files f WHERE f.revision = o.id AND f.status = 'error') THEN 'error'"
            " ELSE o.state END FROM revisions o WHERE o.video = v.id AND o.state IN ('open', 'storing')"
            " ORDER BY o.created_at DESC LIMIT 1)"
            " FROM videos v LEFT JOIN revisions r ON r.id = v.revision WHERE lower(v.title) LIKE lower($1) ESCAPE '!'"
            " ORDER BY v.updated_at DESC, v.id LIMIT $2 OFFSET $3",
            {pattern, page.limit, page.offset});
        videos.reserve(rows.size());
        for (const auto& row : rows) {
            VideoSummary summary;
            summary.video = {.id = row[0].text(),
                .title = row[1].text(),
                .access = {.domains = listFromJson(row[2].text()), .publicLink = row[3].number() != 0},
                .state = row[4].text(),
                .revision = row[5].text()};
            summary.createdAt = row[6].number();
            summary.updatedAt = row[7].number();
            summary.bytes = static_cast<std::uint64_t>(row[8].number());
            if (!row[9].isNull())
                summary.milliseconds = row[9].number();
            summary.plays = row[10].number();
            summary.progress = row[11].text();
            videos.push_back(std::move(summary));
        }
    });
    return videos;
}

std::uint64_t Catalogue::storedBytes()
{
    std::uint64_t bytes = 0;
    m_database.read([&](Session& session) {
        bytes = static_cast<std::uint64_t>(session.run("SELECT coalesce(sum(size), 0) FROM blobs").at(0)[0].number());
    });
    return bytes;
}

std::optional<std::string> Catalogue::setting(const std::string& name)
{
    std::optional<std::string> value;
    m_database.read([&](Session& session) {
        const auto rows = session.run("SELECT value FROM settings WHERE name = $1", {name});
        if (!rows.empty())
            value = rows[0][0].text();
    });
    return value;
}

void Catalogue::setSetting(const std::string& name, const std::string& value)
{
    m_database.write([&](Session& session) {
        session.run(
            "INSERT INTO settings(name, value) VALUES($1, $2) ON CONFLICT(name) DO UPDATE SET value = excluded.value",
            {name, value});
    });
}

} // namespace orvo::server
