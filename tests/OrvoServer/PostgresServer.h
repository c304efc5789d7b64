#pragma once

#include "TestSupport/ChildProcess.h"
#include "TestSupport/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace orvo::test {

/// A PostgreSQL server in a folder of its own, reached through a socket in it. Root runs it as "nobody", since it refuses
/// root.
class PostgresServer {
public:
    /// Where Debian or the system has the newest `initdb` and `postgres`; empty when there is none.
    static std::optional<std::filesystem::path> programs();

    /// Starts one; `programs()` must not be empty. Throws when it does not come up.
    PostgresServer();
    ~PostgresServer();

    /// The address of an empty database, which is a schema of its own.
    std::string freshDatabase();

    /// Ends it at once, as a power cut would.
    void kill() { m_process.reset(); }
    /// Starts it with what the folder holds, and waits until it answers.
    void start();

private:
    std::string address(const std::string& schema) const;

    const std::filesystem::path m_programs;
    std::filesystem::path m_folder;
    std::unique_ptr<ChildProcess> m_process;
    int m_databases = 0;
};

} // namespace orvo::test
