#include "OrvoServer/store/Collection.h"

#include "OrvoServer/store/Catalogue.h"

#include <charconv>

namespace orvo::server {

namespace {

constexpr std::int64_t aDay = 86400;
constexpr auto backupSetting = "hold_removals_until";
constexpr auto jumpSetting = "hold_after_jump_until";
constexpr auto seenSetting = "collected_at";

} // namespace

std::vector<std::string> Collection::forgetOld()
{
    std::vector<std::string> uploads;
    m_database.write([&](Session& session) {
        const auto now = m_clock.now();
        const auto old =
            session.run("SELECT id FROM revisions WHERE (state IN ('open', 'storing') AND touched_at < $1)"
                        " OR (state = 'superseded' AND touched_at < $2) OR (state = 'withdrawn' AND touched_at < $3)"
                        " LIMIT 100",
                {now - m_retention.unfinished, now - m_retention.superseded, now - m_retention.withdrawn});
        for (const auto& row : old) {
            for (const auto& file : session.run("SELECT upload FROM files WHERE revision = $1", {row[0]}))
                uploads.push_back(file[0].text());
            session.run("DELETE FROM files WHERE revision = $1", {row[0]});
            session.run("DELETE FROM revisions WHERE id = $1", {row[0]});
        }
        session.run("INSERT INTO removals(key, due) SELECT key, $1 FROM blobs"
                    " WHERE NOT EXISTS (SELECT 1 FROM files WHERE files.blob = blobs.key)"
                    " ON CONFLICT(key) DO UPDATE SET due = excluded.due",
            {now});
        session.run("DELETE FROM blobs WHERE NOT EXISTS (SELECT 1 FROM files WHERE files.blob = blobs.key)");
        // A withdrawn video stays in the author's list as long as its files.
        session.run("DELETE FROM videos WHERE state = 'withdrawn' AND updated_at < $1"
                    " AND NOT EXISTS (SELECT 1 FROM revisions WHERE revisions.video = videos.id)",
            {now - m_retention.withdrawn});
        session.run("DELETE FROM ended_sessions WHERE until < $1", {now});
    });
    return uploads;
}

std::vector<std::string> Collection::dueRemovals()
{
    std::vector<std::string> keys;
    m_database.read([&](Session& session) {
        for (const auto& row : session.run("SELECT key FROM removals WHERE due <= $1 LIMIT 1000", {m_clock.now()}))
            keys.push_back(row[0].text());
    });
    return keys;
}

void Collection::removed(const std::string& key)
{
    m_database.write([&](Session& session) { session.run("DELETE FROM removals WHERE key = $1", {key}); });
}

void Collection::hold(std::int64_t until)
{
    setNumber(backupSetting, until);
}

bool Collection::isHeld()
{
    const auto now = m_clock.now();
    const auto last = number(seenSetting);
    setNumber(seenSetting, now);
    if (last != 0 && (now > last + aDay || now < last - aDay)) {
        // A server that was off for more than a day waits, too.
        setNumber(jumpSetting, now + aDay);
        setNumber(backupSetting, 0); // Its time refers to the clock before the jump.
    }
    return now < number(backupSetting) || now < number(jumpSetting);
}

std::int64_t Collection::number(const std::string& setting)
{
    const std::string text = Catalogue(m_database, m_clock).setting(setting).value_or("");
    std::int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

void Collection::setNumber(const std::string& setting, std::int64_t value)
{
    Catalogue(m_database, m_clock).setSetting(setting, std::to_string(value));
}

bool Collection::isNeeded(const std::string& upload)
{
    bool isNeeded = false;
    m_database.read([&](Session& session) {
        isNeeded = !session.run("SELECT upload FROM files WHERE upload = $1 AND status <> 'ready'", {upload}).empty();
    });
    return isNeeded;
}

} // namespace orvo::server
