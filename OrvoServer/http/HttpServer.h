#pragma once

#include "OrvoServer/base/Log.h"
#include "OrvoServer/base/Metrics.h"
#include "OrvoServer/http/Message.h"
#include "OrvoServer/http/TlsCertificate.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orvo::server {

/// What clients may take. The times are those without which a slow or silent client could hold a connection for ever.
struct HttpLimits {
    std::size_t maxConnections = 20000;
    std::size_t maxConnectionsOfPeer = 256; ///< Not for the machine itself and for trusted proxies.
    std::chrono::milliseconds headTime{15000}; ///< From the first byte of a request to its blank line; also for a handshake.
    std::chrono::milliseconds idleTime{75000}; ///< Between two requests.
    std::chrono::milliseconds silence{30000}; ///< Without progress within a body.
    std::uint64_t minRate = 4096; ///< Bytes a second on average of a body, after the first minute.
    std::vector<std::string> trustedProxies; ///< Addresses whose X-Forwarded-For is believed; the machine itself always is.
};

/// Serves HTTP/1.1 over TCP, with as many I/O threads as processors, among which it divides connections, and two pools of
/// workers for what blocks.
///
/// A write to a connection that the client has closed must not raise SIGPIPE: the program ignores that signal.
class HttpServer {
public:
    HttpServer(RequestHandler& handler, HttpLimits limits, Log& log, Metrics& metrics);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Listens on a numeric address or "localhost"; port 0 for any free one. Returns the port. With a certificate it speaks
    /// TLS. Throws `Error` when the address cannot be used. Before `run()`.
    std::uint16_t listen(const std::string& host, std::uint16_t port, std::shared_ptr<TlsCertificate> certificate = nullptr);

    /// Serves until `stop()` was called and the connections have ended.
    void run();

    /// Any thread. Accepts nothing more, ends idle connections, lets requests that have begun finish, and ends the others
    /// after `grace`.
    void stop(std::chrono::milliseconds grace);

private:
    friend class Connection;
    struct State;

    std::unique_ptr<State> m_state;
};

} // namespace orvo::server
