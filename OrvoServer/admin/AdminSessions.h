#pragma once

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/store/Credential.h"
#include "OrvoServer/store/Database.h"

#include <optional>
#include <string>
#include <string_view>

namespace orvo::server {

/// Sessions of the administration page: signed texts in a cookie, so that a restart ends none. They end after a day, with a
/// new credential, and when the author signs out. Any thread.
class AdminSessions {
public:
    static constexpr std::int64_t life = 86400; ///< Seconds.

    AdminSessions(std::string_view secret, Credential& credential, Database& database, const Clock& clock);

    std::string begin() const;
    /// Blocks; throws `DatabaseError`.
    bool isValid(std::string_view session) const;
    /// Blocks; throws `DatabaseError`. A session that is not valid is ignored.
    void end(std::string_view session);

private:
    /// The identifier, for a session with a right signature that has not expired.
    std::optional<std::string> idOf(std::string_view session) const;
    std::string signature(std::string_view content) const;

    const std::string m_key;
    Credential& m_credential;
    Database& m_database;
    const Clock& m_clock;
};

} // namespace orvo::server
