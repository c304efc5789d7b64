#pragma once

#include "OrvoServer/app/DataFolder.h"
#include "OrvoServer/base/Clock.h"
#include "OrvoServer/base/Log.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace orvo::server {

class RequestHandler;

/// A running server: owns and connects all its parts.
class Service {
public:
    struct Options {
        /// Overrides the configuration: listens here, with plain HTTP.
        std::optional<HostAndPort> listen;
        /// Replaces the system's clock; must outlive the service.
        const Clock* clock = nullptr;
    };

    /// Opens the data folder, migrates the database and listens. Throws `Error` and file system errors.
    Service(DataFolder folder, const Options& options, Log& log);
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    std::uint16_t port() const;
    /// Answers requests directly, without a connection.
    RequestHandler& handler();

    /// Serves until `stop()`, then finishes running requests.
    void run();
    /// Thread-safe.
    void stop();
    /// Thread-safe. Reloads the certificate files for new connections; logs an unusable file and keeps the old certificate.
    /// The service also checks the files every five minutes.
    void reloadCertificate();

private:
    struct State;

    std::unique_ptr<State> m_state;
};

} // namespace orvo::server
