#pragma once

#include "OrvoServer/app/DataFolder.h"
#include "OrvoServer/base/Clock.h"
#include "OrvoServer/base/Log.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace orvo::server {

class RequestHandler;

/// A running server: everything below the program's commands, put together.
class Service {
public:
    struct Options {
        /// Listens there with plain HTTP instead of as configured.
        std::optional<HostAndPort> listen;
        /// Tells the time instead of the system's clock; lives as long as the service.
        const Clock* clock = nullptr;
    };

    /// Opens the data folder, brings the database up to date and listens. Throws `Error` and file system errors.
    Service(DataFolder folder, const Options& options, Log& log);
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    std::uint16_t port() const;
    /// Answers requests without a connection.
    RequestHandler& handler();

    /// Serves until `stop()`, and lets what has begun finish.
    void run();
    /// Any thread.
    void stop();
    /// Any thread. New connections get the certificate that is on the disk now; one that cannot be used is logged, and the
    /// old one stays. The service also looks every five minutes.
    void reloadCertificate();

private:
    struct State;

    std::unique_ptr<State> m_state;
};

} // namespace orvo::server
