#include "OrvoServer/admin/AdminSessions.h"

#include "OrvoServer/base/Crypto.h"

#include <charconv>
#include <format>

namespace orvo::server {

AdminSessions::AdminSessions(std::string_view secret, Credential& credential, Database& database, const Clock& clock)
    : m_key(viewOf(hmacSha256(secret, "session")))
    , m_credential(credential)
    , m_database(database)
    , m_clock(clock)
{
}

std::string AdminSessions::signature(std::string_view content) const
{
    return base64Url(hmacSha256(m_key, std::string(content) + "." + m_credential.generation()));
}

std::string AdminSessions::begin() const
{
    const std::string content = std::format("{}.{}", randomText(16), m_clock.now() + life);
    return content + "." + signature(content);
}

std::optional<std::string> AdminSessions::idOf(std::string_view session) const
{
    const auto last = session.rfind('.');
    const auto first = session.find('.');
    if (last == std::string_view::npos || first == last)
        return std::nullopt;
    const std::string_view content = session.substr(0, last);
    if (!isSameSecret(signature(content), session.substr(last + 1)))
        return std::nullopt;
    const std::string_view until = content.substr(first + 1);
    std::int64_t end = 0;
    if (std::from_chars(until.data(), until.data() + until.size(), end).ec != std::errc() || end <= m_clock.now())
        return std::nullopt;
    if (end > m_clock.now() + life + clockSlack)
        return std::nullopt; // Issued in the future: the clock was set back.
    return std::string(content.substr(0, first));
}

bool AdminSessions::isValid(std::string_view session) const
{
    const auto id = idOf(session);
    if (!id)
        return false;
    bool isEnded = true;
    m_database.read(
        [&](Session& database) { isEnded = !database.run("SELECT id FROM ended_sessions WHERE id = $1", {*id}).empty(); });
    return !isEnded;
}

void AdminSessions::end(std::string_view session)
{
    const auto id = idOf(session);
    if (!id)
        return;
    m_database.write([&](Session& database) {
        database.run(
            "INSERT INTO ended_sessions(id, until) VALUES($1, $2) ON CONFLICT DO NOTHING", {*id, m_clock.now() + life});
    });
}

} // namespace orvo::server
