#include "OrvoServer/store/Database.h"

#include <array>
#include <format>

namespace orvo::server {

namespace {

using Step = std::vector<std::string_view>;

/// Each step migrates a database from one version to the next. Released steps never change.
std::vector<Step> steps()
{
    // NOLINTBEGIN(bugprone-suspicious-missing-comma): long statements are joined from several strings.
    return {
        {
            "CREATE TABLE settings(name TEXT PRIMARY KEY, value TEXT NOT NULL)",
            // The published values, and those that the next publication sets (next_*; null if unchanged).
            "CREATE TABLE videos(id TEXT PRIMARY KEY, title TEXT NOT NULL, domains TEXT NOT NULL,"
            " public_link BIGINT NOT NULL, next_title TEXT, next_domains TEXT, next_public_link BIGINT,"
            " state TEXT NOT NULL, revision TEXT, embed_epoch BIGINT NOT NULL, watch_epoch BIGINT NOT NULL,"
            " created_at BIGINT NOT NULL, updated_at BIGINT NOT NULL)",
            "CREATE INDEX videos_by_update ON videos(updated_at)",
            "CREATE TABLE revisions(id TEXT PRIMARY KEY, video TEXT NOT NULL, state TEXT NOT NULL, bytes BIGINT NOT NULL,"
            " milliseconds BIGINT, created_at BIGINT NOT NULL, touched_at BIGINT NOT NULL)",
            "CREATE INDEX revisions_by_video ON revisions(video)",
            "CREATE INDEX revisions_by_state ON revisions(state, touched_at)",
            "CREATE TABLE blobs(key TEXT PRIMARY KEY, sha256 TEXT NOT NULL, size BIGINT NOT NULL,"
            " created_at BIGINT NOT NULL)",
            "CREATE UNIQUE INDEX blobs_by_content ON blobs(sha256, size)",
            // status: pending, ready or error. received: all bytes have arrived. verified: the digest is right.
            "CREATE TABLE files(upload TEXT PRIMARY KEY, revision TEXT NOT NULL, position BIGINT NOT NULL,"
            " path TEXT NOT NULL, role TEXT NOT NULL, size BIGINT NOT NULL, sha256 TEXT NOT NULL, status TEXT NOT NULL,"
            " error TEXT, received BIGINT NOT NULL, verified BIGINT NOT NULL, blob TEXT REFERENCES blobs(key))",
            "CREATE UNIQUE INDEX files_by_revision ON files(revision, position)",
            "CREATE INDEX files_by_blob ON files(blob)",
            // Keys to remove from `due` on: those being stored, in case that fails, and those no longer needed.
            "CREATE TABLE removals(key TEXT PRIMARY KEY, due BIGINT NOT NULL)",
            "CREATE TABLE refused_origins(video TEXT NOT NULL, origin TEXT NOT NULL, times BIGINT NOT NULL,"
            " last BIGINT NOT NULL, PRIMARY KEY(video, origin))",
            "CREATE TABLE plays(video TEXT NOT NULL, day TEXT NOT NULL, plays BIGINT NOT NULL, PRIMARY KEY(video, day))",
            "CREATE TABLE tenths(video TEXT NOT NULL, tenth BIGINT NOT NULL, plays BIGINT NOT NULL,"
            " PRIMARY KEY(video, tenth))",
            "CREATE TABLE ended_sessions(id TEXT PRIMARY KEY, until BIGINT NOT NULL)",
        },
    };
    // NOLINTEND(bugprone-suspicious-missing-comma)
}

} // namespace

void migrate(Database& database)
{
    const auto all = steps();
    database.write([&](Session& session) {
        session.run("CREATE TABLE IF NOT EXISTS schema_version(version BIGINT NOT NULL)");
        const auto rows = session.run("SELECT version FROM schema_version");
        const auto version = rows.empty() ? 0 : static_cast<std::size_t>(rows[0][0].number());
        if (version > all.size()) {
            throw DatabaseError(DatabaseError::Kind::other,
                std::format(
                    "La base de datos es de una versión más nueva ({}) que este programa. Actualiza orvo-server.", version));
        }
        for (std::size_t i = version; i < all.size(); ++i) {
            for (const auto statement : all[i])
                session.run(statement);
        }
        if (rows.empty())
            session.run("INSERT INTO schema_version(version) VALUES($1)", {std::uint64_t{all.size()}});
        else
            session.run("UPDATE schema_version SET version = $1", {std::uint64_t{all.size()}});
    });
}

} // namespace orvo::server
