#pragma once

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/store/Database.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::server {

/// How long what nobody needs any more is kept, in seconds.
struct Retention {
    std::int64_t unfinished =
        std::int64_t{42} * 86400; ///< A revision after its last upload: its author may still resume it.
    std::int64_t superseded = 86400 + 3600; ///< A replaced revision: a grant lives a day.
    std::int64_t withdrawn = std::int64_t{30} * 86400; ///< So that a video that is published again need not be sent again.
};

/// Forgets what has been kept for long enough. Calls block and throw `DatabaseError`.
class Collection {
public:
    Collection(Database& database, const Clock& clock, Retention retention)
        : m_database(database)
        , m_clock(clock)
        , m_retention(retention)
    {
    }

    /// Forgets old revisions, and the contents that no file needs then. Returns the uploads of the forgotten files, whose
    /// partial bytes can be deleted.
    std::vector<std::string> forgetOld();

    /// Keys to remove from the store now. They are named again until `removed` is called.
    std::vector<std::string> dueRemovals();
    void removed(const std::string& key);

    /// Nothing may be forgotten or removed until then (seconds since 1970): a backup is being made.
    void hold(std::int64_t until);

    /// Whether nothing may be forgotten or removed now: for a backup, or because the clock has jumped by more than a day,
    /// and nobody can say yet whether what seems old is. The second ends after a day. Call it before each collection.
    bool isHeld();

    /// Whether an upload may still get bytes or wait to be stored.
    bool isNeeded(const std::string& upload);

private:
    std::int64_t number(const std::string& setting);
    void setNumber(const std::string& setting, std::int64_t value);

    Database& m_database;
    const Clock& m_clock;
    const Retention m_retention;
};

} // namespace orvo::server
