#pragma once

#include "OrvoServer/app/Service.h"
#include "PostgresServer.h"
#include "PublishingClient.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <fstream>

namespace orvo::test {

/// The address of an empty PostgreSQL database if ORVO_TEST_POSTGRES is set, else empty for SQLite in the data folder.
inline std::string freshDatabase()
{
    if (!std::getenv("ORVO_TEST_POSTGRES"))
        return {};
    static PostgresServer server;
    return server.freshDatabase();
}

/// A clock that tests set.
class SetClock final : public server::Clock {
public:
    std::int64_t now() const override { return time; }

    std::atomic<std::int64_t> time = 1'800'000'000; ///< Read by the threads of the server.
};

/// A server on loopback with a fresh data folder, and its client.
class ServerFixture : public testing::Test, protected PublishingClient {
protected:
    ServerFixture()
    {
        std::signal(SIGPIPE, SIG_IGN);
        credential = data.init({.address = address, .listen = "127.0.0.1:0", .database = freshDatabase()});
    }
    ~ServerFixture() override { stop(); }

    void configure(std::string_view line) const { std::ofstream(data.configurationFile(), std::ios::app) << line << "\n"; }

    void start()
    {
        service = std::make_unique<server::Service>(data, server::Service::Options{.clock = clock}, log);
        thread = std::thread([this] { service->run(); });
    }
    void stop()
    {
        if (!service)
            return;
        service->stop();
        thread.join();
        service.reset();
    }
    std::uint16_t port() const override { return service->port(); }

    TemporaryFolder folder;
    std::string address = "https://videos.ejemplo.es";
    server::DataFolder data{folder / "data"};
    server::Log log{-1};
    SetClock time; ///< Used by tests that assign it to `clock`.
    const server::Clock* clock = nullptr; ///< Null for the system's clock.
    std::unique_ptr<server::Service> service;
    std::thread thread;
};

} // namespace orvo::test
