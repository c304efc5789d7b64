#include "OrvoServer/base/Json.h"
#include "ServerProgram.h"
#include "TestSupport/Waiting.h"

#include <gmock/gmock.h>

#include <csignal>
#include <format>
#include <fstream>

namespace orvo::test {

namespace {

using namespace server;
using testing::HasSubstr;
namespace fs = std::filesystem;

TEST_F(ServerProgram, RunsChecksItselfAndStopsOnSigterm)
{
    start();
    EXPECT_EQ(api("GET", "status").status, 200U);
    const auto second = run({"run", "--data", data(), "--listen", "127.0.0.1:0"}, setup);
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.err, HasSubstr("Otro orvo-server"));
    // The configured address is unreachable.
    const auto checked = run({"check", "--data", data(), "--json"}, setup);
    EXPECT_EQ(checked.status, 1);
    EXPECT_THAT(checked.out, HasSubstr("Dirección pública"));
    const auto renewed = run({"token", "--data", data(), "--json"}, setup);
    const std::string old = std::exchange(credential, JsonDocument(renewed.out).root()["credential"].text().value_or(""));
    ASSERT_TRUE(pollUntil([&] { return api("GET", "status").status == 200; }));
    credential = old;
    // The attempts above, before the server adopted the new credential, may have used up the burst of wrong ones.
    EXPECT_THAT(api("GET", "status").status, testing::AnyOf(401U, 429U));
    program->signal(SIGTERM);
    const auto ended = program->end();
    program.reset();
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.err, HasSubstr("\"event\":\"stopped\""));
    EXPECT_NE(run({"init", "--data", data(), "--address", "http://localhost:1"}, setup).status, 0);
}

/// Creates certificates for localhost and connects with clients that trust one of them.
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
            openssl({"s_client", "-connect", std::format("127.0.0.1:{}", port()), "-servername", "localhost", version,
                        "-CAfile", authority, "-verify_return_error", "-verify_hostname", "localhost", "-quiet", "-ign_eof"},
                "GET /healthz HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
        return outcome.out.contains("\"ok\":true");
    }
};

TEST_F(ServerTls, ReloadsRenewedCertificatesAndRejectsBrokenOnes)
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
    EXPECT_EQ(ask(port(), "GET", "/healthz").status, 0U) << "plain HTTP on a TLS port";
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
