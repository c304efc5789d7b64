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

/// The bytes of one connection, plain or with TLS, without a buffer of its own while it waits.
///
/// Waiting is for readiness: the socket does not block, and OpenSSL reads and writes it directly. Every member runs on the
/// strand of the socket, and one coroutine at a time uses it. Failures, the end of the peer and a time without progress of
/// `patience` all end the connection, so that they are one answer: false or 0.
class Transport {
public:
    /// `tls` null for plain text.
    Transport(Socket socket, std::shared_ptr<ssl_ctx_st> tls);
    ~Transport();
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    boost::asio::awaitable<bool> handshake(std::chrono::milliseconds patience);
    /// Returns the number of bytes read, at least one.
    boost::asio::awaitable<std::size_t> read(std::span<char> into, std::chrono::milliseconds patience);
    /// `more`: a body follows at once.
    boost::asio::awaitable<bool> write(std::string_view bytes, std::chrono::milliseconds patience, bool more = false);
    boost::asio::awaitable<bool> sendFile(const FileBody& body, std::chrono::milliseconds patience);
    /// Ends the sending side.
    void finishSending();
    /// Ends whatever waits. Any call afterwards fails.
    void close();

    /// Everything must be done by then, whatever progress there is; `time_point::max()` for no limit.
    void setDeadline(std::chrono::steady_clock::time_point deadline) { m_deadline = deadline; }
    bool hasTimedOut() const { return m_hasTimedOut; }
    Strand executor() { return m_socket.get_executor(); }

private:
    enum class Direction : std::uint8_t { read, write };

    boost::asio::awaitable<bool> ready(Direction direction, std::chrono::milliseconds patience);
    /// What OpenSSL wants after `result`; false ends the connection.
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
