#pragma once

#include "CliTestSupport/Program.h"
#include "PublishingClient.h"
#include "TestSupport/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvo::test {

/// The built program with a data folder; tests kill and restart it.
class ServerProgram : public testing::Test, protected PublishingClient {
protected:
    ServerProgram() { init(); }

    void init()
    {
        setup.executable = ORVO_SERVER_PROGRAM;
        const auto made = run({"init", "--data", data(), "--address", "http://localhost:1", "--json"}, setup);
        EXPECT_EQ(made.status, 0) << made.err;
        credential = server::JsonDocument(made.out).root()["credential"].text().value_or("");
    }

    std::string data() const { return (folder / place).string(); }

    /// Starts the program, by default on a free port.
    void start(const std::vector<std::string>& options = {"--listen", "127.0.0.1:0"})
    {
        std::vector<std::string> words{"run", "--data", data()};
        words.insert(words.end(), options.begin(), options.end());
        program.emplace(words, setup);
        ASSERT_TRUE(program->waitForError("\"port\":"));
        ASSERT_TRUE(program->waitForError("\"tls\":"));
        const std::string& log = program->error();
        const auto at = log.rfind("\"port\":") + 7;
        m_port = static_cast<std::uint16_t>(std::stoul(log.substr(at)));
    }
    void kill()
    {
        program->signal(SIGKILL);
        program.reset();
    }

    std::uint16_t port() const override { return m_port; }

    /// Sends a request; returns status 0 if the server was killed.
    Reply api(
        std::string_view method, const std::string& path, std::string_view body = {}, HeaderList headers = {}) const override
    {
        try {
            return PublishingClient::api(method, path, body, std::move(headers));
        } catch (const std::runtime_error&) {
            return {};
        }
    }

    TemporaryFolder folder;
    std::string place = "data";
    Program::Setup setup;
    std::optional<Program> program;

private:
    std::uint16_t m_port = 0;
};

} // namespace orvo::test
