#include "OrvoServer/http/Transport.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/cancel_after.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <vector>

namespace orvo::server {

namespace asio = boost::asio;

Transport::Transport(Socket socket, std::shared_ptr<ssl_ctx_st> tls)
    : m_socket(std::move(socket))
    , m_timer(m_socket.get_executor())
    , m_context(std::move(tls))
    , m_tls(m_context ? SSL_new(m_context.get()) : nullptr, &SSL_free)
{
    boost::system::error_code ignored;
    m_socket.native_non_blocking(true, ignored);
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    if (m_tls) {
        SSL_set_fd(m_tls.get(), m_socket.native_handle());
        SSL_set_accept_state(m_tls.get());
    } else if (m_context) {
        m_isBroken = true;
    }
}

Transport::~Transport() = default;

asio::awaitable<bool> Transport::ready(Direction direction, std::chrono::milliseconds patience)
{
    const auto kind = direction == Direction::read ? Socket::wait_read : Socket::wait_write;
    if (m_deadline != std::chrono::steady_clock::time_point::max()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            m_hasTimedOut = true;
            co_return false;
        }
        patience = std::min(patience, left);
    }
    const auto [error] =
        co_await m_socket.async_wait(kind, asio::cancel_after(m_timer, patience, asio::as_tuple(asio::use_awaitable)));
    if (error == asio::error::operation_aborted && m_socket.is_open())
        m_hasTimedOut = true;
    co_return !error;
}

asio::awaitable<bool> Transport::readyForTls(int result, std::chrono::milliseconds patience)
{
    switch (SSL_get_error(m_tls.get(), result)) {
    case SSL_ERROR_WANT_READ:
        co_return co_await ready(Direction::read, patience);
    case SSL_ERROR_WANT_WRITE:
        co_return co_await ready(Direction::write, patience);
    default:
        m_isBroken = true;
        co_return false;
    }
}

asio::awaitable<bool> Transport::handshake(std::chrono::milliseconds patience)
{
    while (m_tls && !m_isBroken) {
        ERR_clear_error();
        const int result = SSL_do_handshake(m_tls.get());
        if (result == 1)
            co_return true;
        if (!co_await readyForTls(result, patience))
            co_return false;
    }
    co_return !m_isBroken;
}

asio::awaitable<std::size_t> Transport::read(std::span<char> into, std::chrono::milliseconds patience)
{
    while (m_socket.is_open() && !m_isBroken) {
        if (m_tls) {
            ERR_clear_error();
            const int result =
                SSL_read(m_tls.get(), into.data(), static_cast<int>(std::min<std::size_t>(into.size(), INT_MAX)));
            if (result > 0)
                co_return static_cast<std::size_t>(result);
            if (!co_await readyForTls(result, patience))
                co_return 0;
            continue;
        }
        const ssize_t count = ::recv(m_socket.native_handle(), into.data(), into.size(), 0);
        if (count >= 0)
            co_return static_cast<std::size_t>(count);
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN || !co_await ready(Direction::read, patience))
            co_return 0;
    }
    co_return 0;
}

asio::awaitable<bool> Transport::write(std::string_view bytes, std::chrono::milliseconds patience, bool more)
{
    while (!bytes.empty()) {
        if (!m_socket.is_open() || m_isBroken)
            co_return false;
        if (m_tls) {
            ERR_clear_error();
            const int result =
                SSL_write(m_tls.get(), bytes.data(), static_cast<int>(std::min<std::size_t>(bytes.size(), INT_MAX)));
            if (result > 0)
                bytes.remove_prefix(static_cast<std::size_t>(result));
            else if (!co_await readyForTls(result, patience))
                co_return false;
            continue;
        }
        const ssize_t count =
            ::send(m_socket.native_handle(), bytes.data(), bytes.size(), MSG_NOSIGNAL | (more ? MSG_MORE : 0));
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR && (errno != EAGAIN || !co_await ready(Direction::write, patience)))
            co_return false;
    }
    co_return true;
}

asio::awaitable<bool> Transport::sendFile(const FileBody& body, std::chrono::milliseconds patience)
{
    // Linux sends at most 2 GiB per call; a smaller step keeps one viewer from occupying a thread.
    constexpr std::uint64_t maxStep = std::uint64_t{1} << 20U;
    auto offset = static_cast<off_t>(body.offset);
    std::uint64_t left = body.length;
    constexpr std::uint64_t maxRecord = 16384; // A thousand viewers hold one each.
    std::vector<char> buffer(m_tls ? std::min<std::uint64_t>(left, maxRecord) : 0);
    while (left > 0) {
        if (!m_socket.is_open() || m_isBroken)
            co_return false;
        if (m_tls) {
            const ssize_t count =
                ::pread(body.file->descriptor(), buffer.data(), std::min<std::uint64_t>(left, buffer.size()), offset);
            if (count <= 0 || !co_await write({buffer.data(), static_cast<std::size_t>(count)}, patience))
                co_return false;
            offset += count;
            left -= static_cast<std::uint64_t>(count);
            continue;
        }
        const ssize_t count =
            ::sendfile(m_socket.native_handle(), body.file->descriptor(), &offset, std::min(left, maxStep));
        if (count > 0)
            left -= static_cast<std::uint64_t>(count);
        else if (count == 0 // The file was truncated.
            || (errno != EINTR && (errno != EAGAIN || !co_await ready(Direction::write, patience))))
            co_return false;
    }
    co_return true;
}

void Transport::finishSending()
{
    if (!m_socket.is_open())
        return;
    if (m_tls && !m_isBroken) {
        ERR_clear_error();
        SSL_shutdown(m_tls.get());
    }
    boost::system::error_code ignored;
    m_socket.shutdown(Socket::shutdown_send, ignored);
}

void Transport::close()
{
    boost::system::error_code ignored;
    m_socket.close(ignored);
    m_timer.cancel();
}

} // namespace orvo::server
