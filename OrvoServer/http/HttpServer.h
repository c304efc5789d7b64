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

/// Limits per client. The timeouts keep slow or silent clients from holding connections for ever.
struct HttpLimits {
    std::size_t maxConnections = 20000;
    std::size_t maxConnectionsOfPeer = 256; ///< Not for this machine and trusted proxies.
    std::chrono::milliseconds headTime{15000}; ///< From the first byte of a request to its blank line; also for a TLS
                                               ///< handshake.
    std::chrono::milliseconds idleTime{75000}; ///< Between two requests.
    std::chrono::milliseconds silence{30000}; ///< Without progress within a body.
    std::uint64_t minRate = 4096; ///< Minimum average bytes per second of a body, after the first minute.
    std::vector<std::string> trustedProxies; ///< Addresses whose X-Forwarded-For is trusted; this machine always is.
};

/// Serves HTTP/1.1 over TCP, with one I/O thread per processor, among which it divides the connections, and two pools of
/// workers for blocking work.
///
/// The program must ignore SIGPIPE, which a write to a closed connection raises.
class HttpServer {
public:
    HttpServer(RequestHandler& handler, HttpLimits limits, Log& log, Metrics& metrics);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Listens on a numeric address or "localhost"; port 0 selects a free port. Returns the port. Uses TLS if there is a
    /// certificate. Throws `Error` when the address cannot be used. Call before `run()`.
    std::uint16_t listen(const std::string& host, std::uint16_t port, std::shared_ptr<TlsCertificate> certificate = nullptr);

    /// Serves until `stop()` is called and all connections are closed.
    void run();

    /// Thread-safe. Accepts no more connections, closes idle ones, lets running requests finish, and closes the rest
    /// after `grace`.
    void stop(std::chrono::milliseconds grace);

private:
    friend class Connection;
    struct State;

    std::unique_ptr<State> m_state;
};

} // namespace orvo::server
