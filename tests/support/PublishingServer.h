#pragma once

#include "TestSupport/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvo::test {

/// The publishing server of tests/support, on the loopback address, with a certificate authority of its own. While one
/// lives, SSL_CERT_FILE names that authority.
class PublishingServer {
public:
    /// Starts it. With `isPlain` it speaks HTTP.
    explicit PublishingServer(bool isPlain = false);
    ~PublishingServer();
    PublishingServer(const PublishingServer&) = delete;
    PublishingServer& operator=(const PublishingServer&) = delete;

    static constexpr auto token = "secreto";

    /// "https://localhost:PORT".
    std::string address() const;
    int port() const noexcept { return m_port; }

    /// Ends it as a power cut does.
    void kill();
    /// Starts it again, with all that it held, at the same port.
    void restart();

    /// What goes wrong from now on: JSON as tests/support/publishing-server explains. Empty for nothing.
    void setFaults(const std::string& json) const;
    /// Changes a value of what it knows, while it does not run.
    void set(const std::string& key, const std::string& json);

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

    /// A file as it was received for the revision that is published; throws when there is none.
    std::string received(const std::string& path) const;
    /// The value of what it knows.
    std::string state() const;

private:
    void start();

    TemporaryFolder m_folder;
    bool m_isPlain;
    int m_port = 0;
    pid_t m_pid = -1;
    int m_input = -1;
};

} // namespace orvo::test
