#pragma once

#include "OrvoServer/http/HttpServer.h"
#include "OrvoServer/http/Transport.h"

#include <boost/asio/thread_pool.hpp>

#include <atomic>

namespace orvo::server {

/// The context that all connections of a server share.
struct ConnectionShared {
    RequestHandler& handler;
    const HttpLimits& limits;
    Log& log;
    Metrics& metrics;
    boost::asio::thread_pool& workers;
    boost::asio::thread_pool& fetchers;
    const std::atomic<bool>& isStopping;
};

/// A client's connection: reads requests and answers them in order. Runs on the strand of its socket.
class Connection {
public:
    struct Peer {
        std::string address;
        bool isTrusted = false; ///< A proxy that reports the client's address.
    };

    Connection(Socket socket, std::shared_ptr<ssl_ctx_st> tls, Peer peer, ConnectionShared shared);

    boost::asio::awaitable<void> run();

    /// Call on the strand. Closes the connection if no request is in progress.
    void endIfIdle();
    /// Call on the strand. Closes the connection.
    void end() { m_transport.close(); }

private:
    /// Reads to the blank line; returns the length of the head, or 0 when the connection ends.
    boost::asio::awaitable<std::size_t> readHead();
    /// Returns whether to keep the connection.
    boost::asio::awaitable<bool> serve(Request request);
    boost::asio::awaitable<bool> readBody(Request& request);
    boost::asio::awaitable<Response> answer(const Plan::Answer& plan, Request& request, bool& hasBodyLeft);
    boost::asio::awaitable<Response> stream(const Plan::Stream& plan, const Request& request, bool& hasBodyLeft);
    boost::asio::awaitable<bool> send(const Response& response, Method method, bool keepAlive);
    /// Reads part of a body, first the bytes that arrived with the head.
    boost::asio::awaitable<std::size_t> readSome(std::span<char> into);
    boost::asio::awaitable<bool> skip(std::uint64_t count);
    boost::asio::awaitable<bool> confirm(const Request& request);
    /// Closes the sending side and discards input for a while, so that the client can read the response.
    boost::asio::awaitable<void> linger();
    std::chrono::steady_clock::time_point deadlineFor(std::uint64_t bytes) const;

    ConnectionShared m_shared;
    Transport m_transport;
    const Peer m_peer;
    std::string m_input; ///< Read but not used yet.
    bool m_isIdle = true;
};

} // namespace orvo::server
