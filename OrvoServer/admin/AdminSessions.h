#pragma once

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/store/Credential.h"
#include "OrvoServer/store/Database.h"

#include <optional>
#include <string>
#include <string_view>

namespace orvo::server {

/// Sessions of the administration page. The cookie holds a signed token, so sessions survive a restart. A session ends after
/// a day, when the credential changes, or when the author signs out. Thread-safe.
class AdminSessions {
public:
    static constexpr std::int64_t life = 86400; ///< Seconds.

    AdminSessions(std::string_view secret, Credential& credential, Database& database, const Clock& clock);

    std::string begin() const;
    /// Blocks; throws `DatabaseError`.
    bool isValid(std::string_view session) const;
    /// Ignores invalid sessions. Blocks; throws `DatabaseError`.
    void end(std::string_view session);

private:
    /// Returns the identifier of a correctly signed, unexpired session, else nullopt.
    std::optional<std::string> idOf(std::string_view session) const;
    std::string signature(std::string_view content) const;

    const std::string m_key;
    Credential& m_credential;
    Database& m_database;
    const Clock& m_clock;
};

} // namespace orvo::server
