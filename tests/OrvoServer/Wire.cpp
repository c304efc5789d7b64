#include "Wire.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <format>
#include <stdexcept>

namespace orvo::test {

std::string Reply::header(std::string_view name) const
{
    const auto found = head.find(std::format("\r\n{}: ", name));
    if (found == std::string::npos)
        return {};
    const auto begin = found + name.size() + 4;
    return head.substr(begin, head.find("\r\n", begin) - begin);
}

Wire::Wire(std::uint16_t port)
    : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // A hanging server fails this test instead of blocking the whole run.
    const timeval patience{.tv_sec = 60, .tv_usec = 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("connect");
}

Wire::~Wire()
{
    if (m_socket >= 0)
        ::close(m_socket);
}

void Wire::send(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t count = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

bool Wire::fill()
{
    std::array<char, 65536> buffer{};
    const ssize_t count = ::recv(m_socket, buffer.data(), buffer.size(), 0);
    if (count <= 0)
        return false;
    m_input.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

Reply Wire::read(bool withBody)
{
    Reply reply;
    auto end = m_input.find("\r\n\r\n");
    while (end == std::string::npos) {
        if (!fill())
            return reply;
        end = m_input.find("\r\n\r\n");
    }
    reply.head = m_input.substr(0, end + 2);
    m_input.erase(0, end + 4);
    std::from_chars(reply.head.data() + 9, reply.head.data() + 12, reply.status);
    const std::string text = reply.header("Content-Length");
    std::size_t length = 0;
    std::from_chars(text.data(), text.data() + text.size(), length);
    while (withBody && m_input.size() < length) {
        if (!fill())
            return {};
    }
    if (withBody) {
        reply.body = m_input.substr(0, length);
        m_input.erase(0, length);
    }
    return reply;
}

void Wire::awaitEnd()
{
    while (fill())
        m_input.clear();
}

void Wire::reset()
{
    const linger now{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    ::close(m_socket);
    m_socket = -1;
}

Reply ask(
    std::uint16_t port, std::string_view method, std::string_view target, const HeaderList& headers, std::string_view body)
{
    std::string text = std::format("{} {} HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n", method, target);
    for (const auto& [name, value] : headers)
        text += std::format("{}: {}\r\n", name, value);
    if (!body.empty() || method == "POST" || method == "PUT" || method == "PATCH" || method == "DELETE")
        text += std::format("Content-Length: {}\r\n", body.size());
    Wire wire(port);
    wire.send(text + "\r\n" + std::string(body));
    return wire.read(method != "HEAD");
}

} // namespace orvo::test
