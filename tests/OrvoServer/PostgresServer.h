#pragma once

#include "TestSupport/ChildProcess.h"
#include "TestSupport/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace orvo::test {

/// A PostgreSQL server with its own folder and a socket in it. Runs as "nobody" if the test runs as root, which PostgreSQL
/// refuses.
class PostgresServer {
public:
    /// The folder of the newest `initdb` and `postgres`; nullopt if they are not installed.
    static std::optional<std::filesystem::path> programs();

    /// Starts a server; `programs()` must not be nullopt. Throws if the server does not start.
    PostgresServer();
    ~PostgresServer();

    /// Creates an empty database, which is a new schema. Returns its address.
    std::string freshDatabase();

    /// Kills the server.
    void kill() { m_process.reset(); }
    /// Starts the server on the existing data and waits until it answers.
    void start();

private:
    std::string address(const std::string& schema) const;

    const std::filesystem::path m_programs;
    std::filesystem::path m_folder;
    std::unique_ptr<ChildProcess> m_process;
    int m_databases = 0;
};

} // namespace orvo::test
