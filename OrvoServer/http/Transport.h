#pragma once

#include "OrvoServer/http/Message.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>

#include <chrono>
#include <memory>
#include <span>
#include <string_view>

struct ssl_ctx_st;
struct ssl_st;

namespace orvo::server {

using Strand = boost::asio::strand<boost::asio::io_context::executor_type>;
using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, Strand>;

/// The byte stream of one connection, plain or TLS, without a buffer while idle.
///
/// Waits for readiness: the socket is non-blocking, and OpenSSL uses it directly. Call every member on the socket's
/// strand, from one coroutine at a time. Errors, the peer's end of stream and `patience` without progress all end the
/// connection and return false or 0.
class Transport {
public:
    /// `tls` is null for plain text.
    Transport(Socket socket, std::shared_ptr<ssl_ctx_st> tls);
    ~Transport();
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    boost::asio::awaitable<bool> handshake(std::chrono::milliseconds patience);
    /// Returns the number of bytes read, at least one.
    boost::asio::awaitable<std::size_t> read(std::span<char> into, std::chrono::milliseconds patience);
    /// `more`: a body follows immediately.
    boost::asio::awaitable<bool> write(std::string_view bytes, std::chrono::milliseconds patience, bool more = false);
    boost::asio::awaitable<bool> sendFile(const FileBody& body, std::chrono::milliseconds patience);
    /// Closes the sending side.
    void finishSending();
    /// Cancels pending operations. Every later call fails.
    void close();

    /// Operations fail after the deadline, regardless of progress; `time_point::max()` for no limit.
    void setDeadline(std::chrono::steady_clock::time_point deadline) { m_deadline = deadline; }
    bool hasTimedOut() const { return m_hasTimedOut; }
    Strand executor() { return m_socket.get_executor(); }

private:
    enum class Direction : std::uint8_t { read, write };

    boost::asio::awaitable<bool> ready(Direction direction, std::chrono::milliseconds patience);
    /// Waits for the readiness that `result` requests; returns false if the connection must end.
    boost::asio::awaitable<bool> readyForTls(int result, std::chrono::milliseconds patience);

    Socket m_socket;
    boost::asio::steady_timer m_timer;
    std::shared_ptr<ssl_ctx_st> m_context;
    std::unique_ptr<ssl_st, void (*)(ssl_st*)> m_tls;
    std::chrono::steady_clock::time_point m_deadline = std::chrono::steady_clock::time_point::max();
    bool m_hasTimedOut = false;
    bool m_isBroken = false; ///< OpenSSL must not be called again.
};

} // namespace orvo::server
