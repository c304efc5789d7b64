#include "PostgresServer.h"

#include "OrvoServer/store/PostgresDatabase.h"
#include "TestSupport/Waiting.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <format>
#include <stdexcept>
#include <unistd.h>

namespace orvo::test {

namespace fs = std::filesystem;

namespace {

constexpr uid_t nobody = 65534;

/// The prefix of a command that runs as a user that PostgreSQL accepts and ends with this process.
std::vector<std::string> unprivileged()
{
    if (::geteuid() != 0)
        return boundToThisProcess({});
    return {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--pdeathsig=KILL"};
}

/// Skips all tests of a run that needs PostgreSQL if it is not installed.
class NeedsPostgres final : public testing::Environment {
public:
    void SetUp() override
    {
        if (std::getenv("ORVO_TEST_POSTGRES") && !PostgresServer::programs())
            GTEST_SKIP() << "PostgreSQL is not installed";
    }
};

const testing::Environment* const needsPostgres = testing::AddGlobalTestEnvironment(new NeedsPostgres);

} // namespace

std::optional<fs::path> PostgresServer::programs()
{
    std::optional<fs::path> found;
    int newest = 0;
    std::error_code none;
    for (const auto& version : fs::directory_iterator("/usr/lib/postgresql", none)) {
        const int number = std::atoi(version.path().filename().c_str());
        if (number > newest && fs::exists(version.path() / "bin/postgres") && fs::exists(version.path() / "bin/initdb")) {
            newest = number;
            found = version.path() / "bin";
        }
    }
    if (!found && fs::exists("/usr/bin/postgres") && fs::exists("/usr/bin/initdb"))
        found = "/usr/bin";
    return found;
}

PostgresServer::PostgresServer()
    : m_programs(programs().value())
{
    // Other users may have no access to the test's own folder.
    std::string name = (fs::temp_directory_path() / "orvo-postgres-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::runtime_error("mkdtemp");
    m_folder = name;
    if (::geteuid() == 0 && ::chown(name.c_str(), nobody, nobody) != 0)
        throw std::runtime_error("chown");
    std::string command;
    for (const auto& word : unprivileged())
        command += word + " ";
    // No fsync: the tests kill this server, but simulate no power cut of it.
    command +=
        std::format("{}/initdb --pgdata={}/data --username=orvo --auth=trust --encoding=UTF8 --locale=C.UTF-8 --no-sync "
                    ">{}/initdb.log 2>&1",
            m_programs.string(), name, name);
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("initdb");
    start();
}

PostgresServer::~PostgresServer()
{
    m_process.reset();
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

void PostgresServer::start()
{
    auto command = unprivileged();
    for (const auto& word : std::array<std::string, 9>{(m_programs / "postgres").string(), "-D",
             (m_folder / "data").string(), "-k", m_folder.string(), "-c", "listen_addresses=", "-c", "fsync=off"})
        command.push_back(word);
    std::string refusal;
    const auto answers = [&] {
        if (!m_process)
            m_process = std::make_unique<ChildProcess>(command);
        try {
            const server::PostgresDatabase database(address("public"));
            return true;
        } catch (const server::DatabaseError& error) {
            refusal = error.what();
            // A killed server may still lock the folder for a moment; the new one then exits.
            if (m_process->hasEnded())
                m_process.reset();
            return false;
        }
    };
    if (!pollUntil(answers, std::chrono::minutes(2)))
        throw std::runtime_error("PostgreSQL does not start: " + refusal);
}

std::string PostgresServer::address(const std::string& schema) const
{
    return std::format("postgresql:///postgres?host={}&user=orvo&options=-csearch_path%3D{}", m_folder.string(), schema);
}

std::string PostgresServer::freshDatabase()
{
    const std::string name = std::format("orvo{}", ++m_databases);
    server::PostgresDatabase(address("public")).write([&](server::Session& session) {
        session.run("CREATE SCHEMA " + name);
    });
    return address(name);
}

} // namespace orvo::test
