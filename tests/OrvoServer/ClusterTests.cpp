#include "CliTestSupport/Program.h"
#include "OrvoServer/base/Crypto.h"
#include "OrvoServer/base/Json.h"
#include "PostgresServer.h"
#include "S3Gateway.h"
#include "TestSupport/TemporaryFolder.h"
#include "Wire.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <format>
#include <fstream>
#include <optional>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using namespace server;

constexpr std::string_view video = "0d8c5b6e-7f00-4a52-9d5e-1f2a3b4c5d6e";

/// The built program with a data folder of its own.
struct Instance {
    std::optional<Program> program;
    std::uint16_t port = 0;
    fs::path data;

    void start(const Program::Setup& setup)
    {
        program.emplace(std::vector<std::string>{"run", "--data", data.string(), "--listen", "127.0.0.1:0"}, setup);
        ASSERT_TRUE(program->waitForError("\"tls\":"));
        port = static_cast<std::uint16_t>(std::stoul(program->error().substr(program->error().rfind("\"port\":") + 7)));
    }
};

/// Two instances on one PostgreSQL and one S3, as docs/server.md sets them up.
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
            // The second one joins what the first has begun.
            const std::string shown = JsonDocument(made.out).root()["credential"].text().value_or("");
            EXPECT_EQ(shown.empty(), instance == &second);
            credential += shown;
            std::ofstream(instance->data / "orvo-server.conf", std::ios::app)
                << s3->configuration() << "uploads_folder = " << (folder / "uploads").string() << "\n";
        }
        first.start(setup);
        fs::copy(first.data / "secrets", second.data / "secrets", fs::copy_options::recursive);
        second.start(setup);
    }

    Reply api(const Instance& instance, std::string_view method, const std::string& path, std::string_view body = {},
        HeaderList headers = {}) const
    {
        headers.emplace_back("Authorization", "Bearer " + credential);
        return ask(instance.port, method, "/api/" + path, headers, body);
    }

    Reply put(const Instance& instance, const std::string& upload, std::string_view content, std::size_t begin,
        std::size_t count) const
    {
        return api(instance, "PUT", "uploads/" + upload, content.substr(begin, count),
            {{"Content-Range", std::format("bytes {}-{}/{}", begin, begin + count - 1, content.size())}});
    }

    /// The paths and identifiers of a new revision.
    std::map<std::string, std::string> registered(
        const std::map<std::string, std::string>& files, std::string& revision) const
    {
        JsonWriter manifest;
        manifest.open('{').key("files").open('[');
        for (const auto& [path, content] : files) {
            manifest.open('{').member("path", path).member("role", "stream").member("size", std::uint64_t{content.size()});
            manifest.member("sha256", hexText(sha256(content))).close('}');
        }
        const auto reply =
            api(first, "POST", std::format("videos/{}/revisions", video), manifest.close(']').close('}').take());
        EXPECT_EQ(reply.status, 201U) << reply.body;
        const JsonDocument document(reply.body);
        revision = document.root()["id"].text().value_or("");
        std::map<std::string, std::string> uploads;
        document.root()["uploads"].forEach(
            [&](JsonValue upload) { uploads[*upload["path"].text()] = *upload["id"].text(); });
        return uploads;
    }

    std::string media(const Instance& instance) const
    {
        const auto page = ask(instance.port, "GET", std::format("/watch/{}", video));
        const auto begin = page.body.find("/m/");
        EXPECT_NE(begin, std::string::npos) << page.status;
        return begin == std::string::npos ? "" : page.body.substr(begin, page.body.find("&quot;", begin) - begin);
    }

    TemporaryFolder folder;
    std::unique_ptr<S3Gateway> s3;
    std::unique_ptr<PostgresServer> postgres;
    Program::Setup setup;
    Instance first;
    Instance second;
    std::string credential;
};

TEST_F(Cluster, TakesUploadsAndViewersFromAnyInstanceUntilTheLastOne)
{
    std::string segment(6'000'000, '\0');
    std::mt19937 random(11);
    std::ranges::generate(segment, [&] { return static_cast<char>(random()); });
    const std::map<std::string, std::string> files{
        {"hls/master.m3u8", "#EXTM3U\n"}, {"hls/480/00000.ts", segment}, {"hls/480/00001.ts", segment + "2"}};
    EXPECT_EQ(api(first, "POST", "videos", std::format(R"({{"id":"{}","title":"T","domains":[],"publicLink":true}})", video))
                  .status,
        200U);
    std::string revision;
    const auto uploads = registered(files, revision);

    // An upload that changes instances between its chunks, and back.
    const std::string& id = uploads.at("hls/480/00000.ts");
    std::size_t held = 0;
    for (const auto* instance : {&first, &second, &first}) {
        const auto reply = put(*instance, id, segment, held, std::min<std::size_t>(2'500'000, segment.size() - held));
        EXPECT_EQ(reply.status, 200U) << reply.body;
        held = JsonDocument(reply.body).root()["offset"].number().value_or(0);
        EXPECT_EQ(JsonDocument(api(second, "GET", "uploads/" + id).body).root()["offset"].number(), held);
    }
    EXPECT_EQ(held, segment.size());
    EXPECT_EQ(put(second, uploads.at("hls/master.m3u8"), "#EXTM3U\n", 0, 8).status, 200U);
    EXPECT_EQ(put(second, uploads.at("hls/480/00001.ts"), segment + "2", 0, segment.size() + 1).status, 200U);

    // The one that was asked to store is killed: the other goes on with it.
    EXPECT_EQ(api(second, "POST", std::format("revisions/{}/retry", revision)).status, 204U);
    second.program->signal(SIGKILL);
    second.program.reset();
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(5);
    Reply published;
    while (published.status != 200 && std::chrono::steady_clock::now() < limit) {
        published = api(first, "POST", std::format("revisions/{}/publish", revision));
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // The client polls, too.
    }
    ASSERT_EQ(published.status, 200U) << published.body;
    second.start(setup);

    // A viewer whose segments come from both, the second of them after one has gone.
    const std::string place = media(first);
    EXPECT_EQ(ask(first.port, "GET", place + "480/00000.ts").body, segment);
    EXPECT_EQ(ask(second.port, "GET", place + "480/00001.ts").body, segment + "2");
    first.program->signal(SIGKILL);
    first.program.reset();
    EXPECT_EQ(ask(second.port, "GET", place + "480/00000.ts").body, segment);
    EXPECT_NE(media(second), "");

    // The database is away and comes back: its clients wait or are told, and nothing has to be started again.
    postgres->kill();
    EXPECT_EQ(ask(second.port, "GET", "/healthz").status, 503U);
    const auto away = api(
        second, "POST", "videos", R"({"id":")" + std::string(video) + R"(","title":"T","domains":[],"publicLink":true})");
    EXPECT_EQ(away.status, 503U);
    EXPECT_THAT(away.body, testing::HasSubstr("PostgreSQL"));
    postgres->start();
    EXPECT_EQ(ask(second.port, "GET", "/healthz").status, 200U);

    // What one instance withdraws, the other shows for two seconds at most.
    first.start(setup);
    EXPECT_EQ(ask(first.port, "GET", place + "480/00001.ts").status, 200U);
    EXPECT_EQ(api(second, "DELETE", std::format("videos/{}", video)).status, 204U);
    while (ask(first.port, "GET", place + "480/00001.ts").status != 403 && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(ask(first.port, "GET", place + "480/00001.ts").status, 403U);
}

} // namespace

} // namespace orvo::test
