#pragma once

#include "TestSupport/ChildProcess.h"
#include "TestSupport/TemporaryFolder.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo::test {

/// orvo-server behind the proxy of tests/support/publishing-server, on the loopback address, with its own certificate
/// authority. SSL_CERT_FILE names that authority during the lifetime of the object.
class PublishingServer {
public:
    enum class Kind { publishing, plainProxy };

    /// Starts the server. A plain proxy uses HTTP and has no server behind it.
    explicit PublishingServer(Kind kind = Kind::publishing);
    ~PublishingServer();
    PublishingServer(const PublishingServer&) = delete;
    PublishingServer& operator=(const PublishingServer&) = delete;

    static constexpr auto token = "secreto";

    /// "https://localhost:PORT".
    std::string address() const;
    int port() const noexcept { return m_port; }

    /// Kills proxy and server, like a power cut.
    void kill();
    /// Kills both and starts them again with the same data and port.
    void restart();

    /// Sets the faults from now on, as JSON that tests/support/publishing-server documents. Empty for none.
    void setFaults(const std::string& json) const;
    /// Adds a line to the server's configuration and restarts it, without faults.
    void configure(const std::string& line);

    /// An entry of the log of requests.
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
    /// All entries so far, in order.
    std::vector<Request> requests() const;
    /// "METHOD /path" of each received request that starts with `beginning`.
    std::vector<std::string> asked(const std::string& beginning = "") const;
    void forgetRequests() const;

    /// A file of the published revision, as the server stores it. Throws if there is none.
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
