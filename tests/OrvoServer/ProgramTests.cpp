#include "CliTestSupport/Program.h"
#include "OrvoServer/base/Crypto.h"
#include "OrvoServer/base/Json.h"
#include "TestSupport/TemporaryFolder.h"
#include "Wire.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <format>
#include <optional>
#include <random>

namespace orvo::test {

namespace {

using namespace server;
using testing::HasSubstr;

/// The built program with a data folder, which is killed and started again.
class ServerProgram : public testing::Test {
protected:
    static constexpr std::string_view video = "0d8c5b6e-7f00-4a52-9d5e-1f2a3b4c5d6e";

    ServerProgram()
    {
        setup.executable = ORVO_SERVER_PROGRAM;
        const auto made = run({"init", "--data", data(), "--address", "http://localhost:1", "--json"}, setup);
        EXPECT_EQ(made.status, 0) << made.err;
        credential = JsonDocument(made.out).root()["credential"].text().value_or("");
    }

    std::string data() const { return (folder / "data").string(); }

    /// Starts on a free port.
    void start()
    {
        program.emplace(std::vector<std::string>{"run", "--data", data(), "--listen", "127.0.0.1:0"}, setup);
        ASSERT_TRUE(program->waitForError("\"port\":"));
        ASSERT_TRUE(program->waitForError("\"tls\":"));
        const std::string& log = program->error();
        const auto at = log.rfind("\"port\":") + 7;
        port = static_cast<std::uint16_t>(std::stoul(log.substr(at)));
    }
    void kill()
    {
        program->signal(SIGKILL);
        program.reset();
    }

    /// A request that may find the server killed: status 0 then.
    Reply api(std::string_view method, const std::string& path, std::string_view body = {}, HeaderList headers = {}) const
    {
        headers.emplace_back("Authorization", "Bearer " + credential);
        try {
            return ask(port, method, "/api/" + path, headers, body);
        } catch (const std::runtime_error&) {
            return {};
        }
    }

    TemporaryFolder folder;
    Program::Setup setup;
    std::string credential;
    std::optional<Program> program;
    std::uint16_t port = 0;
};

// What was acknowledged before each kill is there after it, and viewers get whole revisions only.
TEST_F(ServerProgram, KeepsWhatItAcknowledgedWhenItIsKilled)
{
    std::mt19937 random(20261101);
    std::string big(3'000'000, '\0');
    for (auto& byte : big)
        byte = static_cast<char>(random());
    const std::string master = "#EXTM3U\n";
    const auto entry = [](std::string_view path, std::string_view content) {
        return std::format(
            R"({{"path":"{}","role":"stream","size":{},"sha256":"{}"}})", path, content.size(), hexText(sha256(content)));
    };
    start();
    std::string revision;
    std::map<std::string, std::string> uploads;
    std::uint64_t acknowledged = 0;
    bool isPublished = false;
    int kills = 0;
    while (kills < 40 || !isPublished) {
        // Each round takes one step of the client, while the server is killed at some moment of it.
        std::optional<std::jthread> killer;
        if (kills < 40) {
            killer.emplace([this, delay = std::uniform_int_distribution(0, 20000)(random)] {
                std::this_thread::sleep_for(std::chrono::microseconds(delay));
                program->signal(SIGKILL);
            });
        }
        for (bool isAlive = true; isAlive && !(isPublished && !killer);) {
            if (revision.empty()) {
                isAlive =
                    api("POST", "videos", std::format(R"({{"id":"{}","title":"T","domains":[],"publicLink":true}})", video))
                        .status
                    == 200;
                const auto reply = api("POST", std::format("videos/{}/revisions", video),
                    std::format(R"({{"files":[{},{}]}})", entry("hls/master.m3u8", master), entry("hls/480/00000.ts", big)));
                isAlive = isAlive && reply.status == 201;
                if (isAlive) {
                    const JsonDocument document(reply.body);
                    revision = document.root()["id"].text().value_or("");
                    document.root()["uploads"].forEach(
                        [&](JsonValue upload) { uploads[*upload["path"].text()] = *upload["id"].text(); });
                }
                continue;
            }
            const auto& id = uploads.at("hls/480/00000.ts");
            const auto held = JsonDocument(api("GET", "uploads/" + id).body).root()["offset"].number();
            isAlive = held.has_value();
            if (!isAlive)
                break;
            ASSERT_GE(*held, acknowledged);
            if (*held < big.size()) {
                const auto chunk = std::string_view(big).substr(*held, 500'000);
                const auto reply = api("PUT", "uploads/" + id, chunk,
                    {{"Content-Range", std::format("bytes {}-{}/{}", *held, *held + chunk.size() - 1, big.size())}});
                isAlive = reply.status == 200;
                if (isAlive)
                    acknowledged = JsonDocument(reply.body).root()["offset"].number().value_or(0);
                continue;
            }
            api("PUT", "uploads/" + uploads.at("hls/master.m3u8"), master,
                {{"Content-Range", std::format("bytes 0-{0}/{1}", master.size() - 1, master.size())}});
            api("POST", std::format("revisions/{}/retry", revision));
            const auto published = api("POST", std::format("revisions/{}/publish", revision));
            isAlive = published.status != 0;
            isPublished = isPublished || published.status == 200;
            try {
                const auto page = ask(port, "GET", std::format("/watch/{}", video));
                if (isPublished && page.status != 0) {
                    EXPECT_EQ(page.status, 200U);
                }
                const auto begin = page.body.find("/m/");
                if (begin == std::string::npos)
                    continue;
                const auto media = page.body.substr(begin, page.body.find("&quot;", begin) - begin);
                const auto segment = ask(port, "GET", media + "480/00000.ts");
                if (segment.status != 0) {
                    EXPECT_TRUE(segment.status == 200 && segment.body == big);
                }
            } catch (const std::runtime_error&) {
                isAlive = false;
            }
        }
        if (killer) {
            killer->join();
            kill();
            ++kills;
            start();
        }
    }
}

TEST_F(ServerProgram, RunsChecksItselfAndStopsWhenAsked)
{
    start();
    EXPECT_EQ(api("GET", "status").status, 200U);
    const auto second = run({"run", "--data", data(), "--listen", "127.0.0.1:0"}, setup);
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.err, HasSubstr("Otro orvo-server"));
    // The address of the configuration leads nowhere.
    const auto checked = run({"check", "--data", data(), "--json"}, setup);
    EXPECT_EQ(checked.status, 1);
    EXPECT_THAT(checked.out, HasSubstr("Dirección pública"));
    const auto renewed = run({"token", "--data", data(), "--json"}, setup);
    const std::string old = std::exchange(credential, JsonDocument(renewed.out).root()["credential"].text().value_or(""));
    while (api("GET", "status").status != 200)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    credential = old;
    // The tries above, while the new one was not known yet, may have used up those that wrong credentials have.
    EXPECT_THAT(api("GET", "status").status, testing::AnyOf(401U, 429U));
    program->signal(SIGTERM);
    const auto ended = program->end();
    program.reset();
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.err, HasSubstr("\"event\":\"stopped\""));
    EXPECT_NE(run({"init", "--data", data(), "--address", "http://localhost:1"}, setup).status, 0);
}

} // namespace

} // namespace orvo::test
