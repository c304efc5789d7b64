#pragma once

#include "TestSupport/ChildProcess.h"
#include "TestSupport/TemporaryFolder.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo::test {

/// orvo-server behind the proxy of tests/support/publishing-server, on the loopback address, with a certificate authority of
/// its own. While one lives, SSL_CERT_FILE names that authority.
class PublishingServer {
public:
    enum class Kind { publishing, plainProxy };

    /// Starts it. A plain proxy speaks HTTP and has no server behind it.
    explicit PublishingServer(Kind kind = Kind::publishing);
    ~PublishingServer();
    PublishingServer(const PublishingServer&) = delete;
    PublishingServer& operator=(const PublishingServer&) = delete;

    static constexpr auto token = "secreto";

    /// "https://localhost:PORT".
    std::string address() const;
    int port() const noexcept { return m_port; }

    /// Kills proxy and server, as a power cut does.
    void kill();
    /// Kills both and starts them again, with their data, at the same port.
    void restart();

    /// What goes wrong from now on: JSON as tests/support/publishing-server explains. Empty for nothing.
    void setFaults(const std::string& json) const;
    /// Adds a line to the server's configuration and restarts it, without faults.
    void configure(const std::string& line);

    /// A request as it came in.
    struct Request {
        std::string method;
        std::string path;
        std::string authorization;
        std::string range; ///< Content-Range.
        std::string type; ///< Content-Type.
        std::int64_t length = 0;
        std::string event; ///< "asked", "answered", or "refused" for bytes that were not expected.
        int status = 0;
    };
    /// Everything so far, in order.
    std::vector<Request> requests() const;
    /// "METHOD /path" of every request that came in, and begins so.
    std::vector<std::string> asked(const std::string& beginning = "") const;
    void forgetRequests() const;

    /// A file of the published revision, as the server stores it. Throws when there is none.
    std::string received(const std::string& path) const;
    /// Runs a statement on the server's database and returns the values of all rows, "|" between them.
    std::string query(const std::string& sql) const;

private:
    void start();

    TemporaryFolder m_folder;
    Kind m_kind;
    int m_port = 0;
    std::optional<ChildProcess> m_process;
};

} // namespace orvo::test
