#include "OrvoServer/viewers/Tickets.h"

#include "OrvoServer/base/Crypto.h"

#include <algorithm>

namespace orvo::server {

namespace {

// Layout: kind of access, video, revision, epoch, expiry; then the HMAC.
constexpr std::size_t revisionBytes = 16;
constexpr std::size_t contentBytes = 1 + 16 + revisionBytes + 8 + 8;
constexpr std::size_t codeBytes = 32;

void appendNumber(std::string& out, std::int64_t number)
{
    for (int shift = 56; shift >= 0; shift -= 8)
        out += static_cast<char>((static_cast<std::uint64_t>(number) >> static_cast<unsigned>(shift)) & 255U);
}

std::int64_t numberAt(std::string_view bytes, std::size_t at)
{
    std::uint64_t number = 0;
    for (const char c : bytes.substr(at, 8))
        number = number << 8U | static_cast<std::uint8_t>(c);
    return static_cast<std::int64_t>(number);
}

} // namespace

Tickets::Tickets(std::string_view secret, Lives lives, const Clock& clock)
    : m_ticketKey(viewOf(hmacSha256(secret, "ticket")))
    , m_grantKey(viewOf(hmacSha256(secret, "grant")))
    , m_lives(lives)
    , m_clock(clock)
{
}

std::string Tickets::write(Kind kind, const Permission& permission) const
{
    std::string bytes(1, permission.through == Permission::Through::link ? 'l' : 'e');
    bytes.append(reinterpret_cast<const char*>(permission.video.bytes.data()), permission.video.bytes.size());
    auto revision = fromBase64Url(permission.revision).value_or("");
    revision.resize(revisionBytes);
    bytes += revision;
    appendNumber(bytes, permission.epoch);
    appendNumber(bytes, permission.until);
    bytes += viewOf(hmacSha256(kind == Kind::ticket ? m_ticketKey : m_grantKey, bytes));
    return base64Url(bytesOf(bytes));
}

std::optional<Permission> Tickets::read(Kind kind, std::string_view text) const
{
    const auto bytes = fromBase64Url(text);
    if (!bytes || bytes->size() != contentBytes + codeBytes)
        return std::nullopt;
    const std::string_view content = std::string_view(*bytes).substr(0, contentBytes);
    const auto code = hmacSha256(kind == Kind::ticket ? m_ticketKey : m_grantKey, content);
    if (!isSameSecret(viewOf(code), std::string_view(*bytes).substr(contentBytes)))
        return std::nullopt;
    Permission permission;
    permission.through = content[0] == 'l' ? Permission::Through::link : Permission::Through::embedding;
    std::ranges::copy(bytesOf(content.substr(1, 16)), permission.video.bytes.begin());
    permission.revision = base64Url(bytesOf(content.substr(17, revisionBytes)));
    permission.epoch = numberAt(content, 17 + revisionBytes);
    permission.until = numberAt(content, 25 + revisionBytes);
    const std::int64_t left = permission.until - m_clock.now();
    if (left <= 0 || left > (kind == Kind::ticket ? m_lives.ticket : m_lives.grant) + clockSlack)
        return std::nullopt;
    return permission;
}

} // namespace orvo::server
