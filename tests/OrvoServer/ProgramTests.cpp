#include "OrvoServer/base/Crypto.h"
#include "OrvoServer/base/Json.h"
#include "ServerProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <format>
#include <fstream>
#include <optional>
#include <random>

namespace orvo::test {

namespace {

using namespace server;
using testing::HasSubstr;
namespace fs = std::filesystem;

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

/// Makes a certificate for localhost, and what a client says to it: whether it trusts it, and the server's answer.
class ServerTls : public ServerProgram {
protected:
    static Outcome openssl(std::vector<std::string> arguments, const std::string& input = {})
    {
        return orvo::test::run(std::move(arguments), {.executable = "/usr/bin/openssl", .input = input});
    }
    std::string make(const std::string& name) const
    {
        const std::string chain = folder / (name + ".pem");
        EXPECT_EQ(openssl({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days",
                              "2", "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout",
                              folder / (name + ".key"), "-out", chain})
                      .status,
            0);
        return chain;
    }
    void install(const std::string& name) const
    {
        for (const auto* ending : {".pem", ".key"}) {
            fs::copy_file(folder / (name + ending), folder / ("new" + std::string(ending)));
            fs::rename(folder / ("new" + std::string(ending)), folder / ("used" + std::string(ending)));
        }
    }
    bool isTrusted(const std::string& authority, const std::string& version = "-tls1_3") const
    {
        const auto outcome =
            openssl({"s_client", "-connect", std::format("127.0.0.1:{}", port), "-servername", "localhost", version,
                        "-CAfile", authority, "-verify_return_error", "-verify_hostname", "localhost", "-quiet", "-ign_eof"},
                "GET /healthz HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
        return outcome.out.contains("\"ok\":true");
    }
};

TEST_F(ServerTls, TakesARenewedCertificateAndKeepsTheOldOneFromABrokenFile)
{
    const auto first = make("first");
    const auto second = make("second");
    install("first");
    std::ofstream(folder / "data/orvo-server.conf", std::ios::app)
        << "listen = 127.0.0.1:0\ntls_certificate = " << (folder / "used.pem").string()
        << "\ntls_key = " << (folder / "used.key").string() << "\n";
    start({});
    EXPECT_TRUE(isTrusted(first));
    EXPECT_TRUE(isTrusted(first, "-tls1_2"));
    EXPECT_FALSE(isTrusted(first, "-tls1_1"));
    EXPECT_FALSE(isTrusted(second));
    EXPECT_EQ(ask(port, "GET", "/healthz").status, 0U) << "plain HTTP on a TLS port";
    install("second");
    program->signal(SIGHUP);
    ASSERT_TRUE(program->waitForError("certificate-reloaded"));
    EXPECT_TRUE(isTrusted(second));
    EXPECT_FALSE(isTrusted(first));
    std::ofstream(folder / "used.pem") << "not a certificate";
    program->signal(SIGHUP);
    ASSERT_TRUE(program->waitForError("certificate-not-reloaded"));
    EXPECT_TRUE(isTrusted(second));
}

} // namespace

} // namespace orvo::test
