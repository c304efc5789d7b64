#include "OrvoBridge/MessageStream.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <unistd.h>

namespace orvo::bridge {

namespace {

using Length = std::uint32_t;

bool writeAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            return false;
    }
    return true;
}

} // namespace

MessageStream::State MessageStream::read(int descriptor)
{
    m_bytes.erase(0, m_used);
    m_used = 0;
    std::array<char, std::size_t{1} << 16> block{};
    ssize_t got = 0;
    do
        got = ::read(descriptor, block.data(), block.size());
    while (got < 0 && errno == EINTR);
    if (got <= 0)
        return State::ended;
    m_bytes.append(block.data(), static_cast<std::size_t>(got));
    return State::open;
}

std::optional<std::string_view> MessageStream::next()
{
    const std::string_view rest = std::string_view(m_bytes).substr(m_used);
    Length length = 0;
    if (m_broken || rest.size() < sizeof length)
        return std::nullopt;
    std::memcpy(&length, rest.data(), sizeof length);
    if (length > maxMessageBytes) {
        m_broken = true;
        return std::nullopt;
    }
    if (rest.size() - sizeof length < length)
        return std::nullopt;
    m_used += sizeof length + length;
    return rest.substr(sizeof length, length);
}

bool writeMessage(int descriptor, std::string_view text)
{
    const auto length = static_cast<Length>(text.size());
    std::string message(sizeof length, '\0');
    std::memcpy(message.data(), &length, sizeof length);
    message += text;
    return writeAll(descriptor, message);
}

} // namespace orvo::bridge
