#include "CliTestSupport/Program.h"
#include "PostgresServer.h"
#include "PublishingClient.h"
#include "S3Gateway.h"
#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/Waiting.h"

#include <gmock/gmock.h>

#include <csignal>
#include <format>
#include <fstream>
#include <optional>
#include <random>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using namespace server;

/// The built program with its own data folder.
struct Instance : PublishingClient {
    std::optional<Program> program;
    std::uint16_t listening = 0;
    fs::path data;

    std::uint16_t port() const override { return listening; }

    void start(const Program::Setup& setup)
    {
        program.emplace(std::vector<std::string>{"run", "--data", data.string(), "--listen", "127.0.0.1:0"}, setup);
        ASSERT_TRUE(program->waitForError("\"tls\":"));
        listening = static_cast<std::uint16_t>(std::stoul(program->error().substr(program->error().rfind("\"port\":") + 7)));
    }
};

/// Two instances that share PostgreSQL and S3, set up as in docs/server.md.
class Cluster : public testing::Test {
protected:
    void SetUp() override
    {
        if (!PostgresServer::programs() || !S3Gateway::program())
            GTEST_SKIP() << "PostgreSQL or an S3 server (versitygw) is not installed";
        s3 = std::make_unique<S3Gateway>(folder / "s3");
        postgres = std::make_unique<PostgresServer>();
        const std::string database = postgres->freshDatabase();
        setup.executable = ORVO_SERVER_PROGRAM;
        setup.environment["ORVO_S3_SECRET_KEY"] = S3Gateway::secretKey;
        for (auto* instance : {&first, &second}) {
            instance->data = folder / (instance == &first ? "first" : "second");
            const auto made = run({"init", "--data", instance->data.string(), "--address", "http://localhost:1",
                                      "--database", database, "--json"},
                setup);
            ASSERT_EQ(made.status, 0) << made.err;
            // The second instance joins the database of the first and gets no credential.
            const std::string shown = JsonDocument(made.out).root()["credential"].text().value_or("");
            EXPECT_EQ(shown.empty(), instance == &second);
            first.credential += shown;
            instance->credential = first.credential;
            std::ofstream(instance->data / "orvo-server.conf", std::ios::app)
                << s3->configuration() << "uploads_folder = " << (folder / "uploads").string() << "\n";
        }
        first.start(setup);
        fs::copy(first.data / "secrets", second.data / "secrets", fs::copy_options::recursive);
        second.start(setup);
    }

    TemporaryFolder folder;
    std::unique_ptr<S3Gateway> s3;
    std::unique_ptr<PostgresServer> postgres;
    Program::Setup setup;
    Instance first;
    Instance second;
};

TEST_F(Cluster, ServesUploadsAndViewersWhileOneInstanceLives)
{
    std::string segment(6'000'000, '\0');
    std::mt19937 random(11);
    std::ranges::generate(segment, [&] { return static_cast<char>(random()); });
    const PublishingClient::Files files{
        {"hls/master.m3u8", "#EXTM3U\n"}, {"hls/480/00000.ts", segment}, {"hls/480/00001.ts", segment + "2"}};
    const auto announcement = PublishingClient::announcement("T", "[]", true);
    EXPECT_EQ(first.api("POST", "videos", announcement).status, 200U);
    const auto [revision, uploads] = first.registered(files);

    // An upload switches instances between its chunks, and back.
    const std::string& id = uploads.at("hls/480/00000.ts");
    std::size_t held = 0;
    for (const auto* instance : {&first, &second, &first}) {
        const auto reply = instance->put(id, std::string_view(segment).substr(held, 2'500'000), held, segment.size());
        EXPECT_EQ(reply.status, 200U) << reply.body;
        held = JsonDocument(reply.body).root()["offset"].number().value_or(0);
        EXPECT_EQ(second.offset(id), held);
    }
    EXPECT_EQ(held, segment.size());
    EXPECT_EQ(second.put(uploads.at("hls/master.m3u8"), "#EXTM3U\n", 0, 8).status, 200U);
    EXPECT_EQ(second.put(uploads.at("hls/480/00001.ts"), segment + "2", 0, segment.size() + 1).status, 200U);

    // The instance that stores the revision is killed; the other one takes over.
    EXPECT_EQ(second.api("POST", std::format("revisions/{}/retry", revision)).status, 204U);
    second.program->signal(SIGKILL);
    second.program.reset();
    Reply published;
    const auto isPublished = [&] { // The client polls, too.
        published = first.api("POST", std::format("revisions/{}/publish", revision));
        return published.status == 200;
    };
    ASSERT_TRUE(pollUntil(isPublished, std::chrono::minutes(5))) << published.status << " " << published.body;
    second.start(setup);

    // A viewer fetches segments from both instances, then from the survivor.
    const std::string place = first.media("watch", "document");
    EXPECT_EQ(ask(first.port(), "GET", place + "480/00000.ts").body, segment);
    EXPECT_EQ(ask(second.port(), "GET", place + "480/00001.ts").body, segment + "2");
    first.program->signal(SIGKILL);
    first.program.reset();
    EXPECT_EQ(ask(second.port(), "GET", place + "480/00000.ts").body, segment);
    EXPECT_NE(second.media("watch", "document"), "");

    // The database fails and returns: requests get 503 meanwhile, and no instance needs a restart.
    postgres->kill();
    EXPECT_EQ(ask(second.port(), "GET", "/healthz").status, 503U);
    const auto away = second.api("POST", "videos", announcement);
    EXPECT_EQ(away.status, 503U);
    EXPECT_THAT(away.body, testing::HasSubstr("PostgreSQL"));
    postgres->start();
    EXPECT_EQ(ask(second.port(), "GET", "/healthz").status, 200U);

    // A withdrawal on one instance reaches the other within two seconds.
    first.start(setup);
    EXPECT_EQ(ask(first.port(), "GET", place + "480/00001.ts").status, 200U);
    EXPECT_EQ(second.api("DELETE", std::format("videos/{}", PublishingClient::video)).status, 204U);
    EXPECT_TRUE(pollUntil([&] { return ask(first.port(), "GET", place + "480/00001.ts").status == 403; }));
}

} // namespace

} // namespace orvo::test
