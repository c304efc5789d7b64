#pragma once

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/store/Database.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::server {

/// How long unneeded data is kept, in seconds.
struct Retention {
    std::int64_t unfinished =
        std::int64_t{42} * 86400; ///< A revision since its last upload; the author may still resume it.
    std::int64_t superseded = 86400 + 3600; ///< A replaced revision; grants live a day.
    std::int64_t withdrawn = std::int64_t{30} * 86400; ///< Saves the upload if the video is published again.
};

/// Removes data whose retention has expired. Calls block and throw `DatabaseError`.
class Collection {
public:
    Collection(Database& database, const Clock& clock, Retention retention)
        : m_database(database)
        , m_clock(clock)
        , m_retention(retention)
    {
    }

    /// Removes old revisions and schedules the removal of contents that no file needs. Returns the uploads of the removed
    /// files, whose partial bytes can be deleted.
    std::vector<std::string> forgetOld();

    /// Keys to remove from the store now. Returns them again until `removed` is called.
    std::vector<std::string> dueRemovals();
    void removed(const std::string& key);

    /// Suspends removal for a backup until this time, in seconds since 1970.
    void hold(std::int64_t until);

    /// Returns whether removal is suspended: for a backup, or for a day after the clock has jumped by more than a day,
    /// because ages are then unreliable. Call before each collection, since it also detects the jumps.
    bool isHeld();

    /// Returns whether an upload still receives bytes or waits to be stored.
    bool isNeeded(const std::string& upload);

private:
    std::int64_t number(const std::string& setting);
    void setNumber(const std::string& setting, std::int64_t value);

    Database& m_database;
    const Clock& m_clock;
    const Retention m_retention;
};

} // namespace orvo::server
