#include "OrvoServer/http/HttpServer.h"
#include "OrvoServer/http/Ranges.h"
#include "OrvoServer/http/Target.h"
#include "ServerFixture.h"
#include "TestSupport/Waiting.h"

namespace orvo::test {

namespace {

using namespace server;

TEST(Targets, RejectsSegmentsThatCouldLeaveAFolder)
{
    for (const auto* bad : {"", "api", "http://x/y", "*", "/a/../b", "/a/%2e%2e/b", "/a/./b", "/a%2fb", "/a\\b", "/a%5cb",
             "/%", "/%4", "/%zz", "/a%00b", "/a%0ab", "/a%7f"})
        EXPECT_FALSE(parseTarget(bad)) << bad;
    const auto target = parseTarget("//watch//a%20b/?code=1%202&state=x+y&broken=%");
    ASSERT_TRUE(target);
    EXPECT_EQ(target->segments, (std::vector<std::string>{"watch", "a b"}));
    EXPECT_TRUE(target->endsInSlash);
    EXPECT_EQ(target->parameter("code"), "1 2");
    EXPECT_EQ(target->parameter("state"), "x y");
    EXPECT_FALSE(target->parameter("broken"));
}

TEST(Ranges, AcceptsOnlyExactSyntax)
{
    EXPECT_EQ(parseContentRange("bytes 0-9/10"), (ContentRange{.bytes = {.first = 0, .last = 9}, .size = 10}));
    for (const auto* bad : {"", "bytes", "bytes 0-9", "bytes 0-9/*", "bytes */10", "bytes 9-0/10", "bytes 0-10/10",
             "bytes -1-9/10", "bytes 0-9/10 ", "bytes  0-9/10", "items 0-9/10", "bytes 0-9/99999999999999999999",
             "bytes 0x0-9/10", "bytes +0-9/10", "bytes 0-18446744073709551615/18446744073709551616"})
        EXPECT_FALSE(parseContentRange(bad)) << bad;
    using Answer = std::variant<NoRange, ByteRange>;
    const std::map<std::string, Answer> cases{{"bytes=0-4", ByteRange{.first = 0, .last = 4}},
        {"bytes=5-", ByteRange{.first = 5, .last = 9}}, {"bytes=-3", ByteRange{.first = 7, .last = 9}},
        {"bytes=0-99", ByteRange{.first = 0, .last = 9}}, {"bytes=-99", ByteRange{.first = 0, .last = 9}},
        {"bytes=10-", NoRange::unsatisfiable}, {"bytes=-0", NoRange::unsatisfiable}, {"bytes=4-2", NoRange::whole},
        {"bytes=0-1,3-4", NoRange::whole}, {"bytes=", NoRange::whole}, {"lines=0-1", NoRange::whole}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(parseRange(text, 10), expected) << text;
}

class Http : public ServerFixture { };

TEST_F(Http, RejectsRequestsThatAProxyCouldReadDifferently)
{
    start();
    const std::string head = "POST /api/videos HTTP/1.1\r\nHost: localhost\r\n";
    const std::map<std::string, unsigned> cases{
        {head + "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400},
        {head + "Transfer-Encoding: identity\r\nContent-Length: 0\r\n\r\n", 400},
        {head + "Transfer-Encoding: chunked\r\nContent-Length: 5\r\n\r\n0\r\n\r\n", 400},
        {head + "Content-Length: 2\r\nContent-Length: 2\r\n\r\n{}", 400},
        {head + "Content-Length: 2, 2\r\n\r\n{}", 400},
        {head + "Content-Length: -1\r\n\r\n", 400},
        {head + "Content-Length: 99999999999999999999\r\n\r\n", 400},
        {head + "X-Folded: a\r\n b\r\n\r\n", 400},
        {head + "X-Folded: a\r\n\tb\r\n\r\n", 400},
        {head + "X-Bare: a\nContent-Length: 0\r\n\r\n", 400},
        {head + "X-Bare: a\rb\r\n\r\n", 400},
        {head + std::string("X-Nul: a\0b\r\n\r\n", 14), 400},
        {head + "X Y: a\r\n\r\n", 400},
        {head + "Host: other\r\n\r\n", 400},
        {"POST /api/videos HTTP/1.1\r\n\r\n", 400},
        {"GET / HTTP/2.0\r\nHost: localhost\r\n\r\n", 505},
        {"GET  / HTTP/1.1\r\nHost: localhost\r\n\r\n", 400},
        {"\r\n\r\n\r\n\r\n", 400},
        {std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n", 15), 400},
        {head + "X-Long: " + std::string(17000, 'a') + "\r\n\r\n", 431},
        {"GET /" + std::string(20000, 'a'), 431},
    };
    for (const auto& [request, status] : cases) {
        Wire wire(port());
        wire.send(request);
        EXPECT_EQ(wire.read().status, status) << request.substr(0, 120);
        wire.awaitEnd();
    }
}

TEST_F(Http, AnswersPipelinedRequestsInOrder)
{
    start();
    const std::string ok = "GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n";
    const std::string no = "GET /api/status HTTP/1.1\r\nHost: localhost\r\n\r\n";
    Wire wire(port());
    wire.send(ok + no + ok + "POST /api/videos HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n\r\nabc" + ok);
    for (const unsigned status : {200U, 401U, 200U, 401U, 200U})
        EXPECT_EQ(wire.read().status, status);
}

TEST_F(Http, RespondsToUnwantedLongBodies)
{
    start();
    const auto reply =
        ask(port(), "PUT", "/api/uploads/x", {{"Content-Range", "bytes 0-8388607/8388608"}}, std::string(8388608, 'x'));
    EXPECT_EQ(reply.status, 401U);
    EXPECT_EQ(reply.header("Connection"), "close");
    const auto tooLong = ask(port(), "POST", "/api/videos", authorised(), std::string(2000000, ' '));
    EXPECT_EQ(tooLong.status, 413U);
}

/// Responds with the body of the request.
class Echo final : public RequestHandler {
public:
    Plan plan(const Request& asked) override
    {
        if (asked.target == "/long")
            return Plan{.what = Response{.body = std::string(std::size_t{32} << 20U, 'x')}};
        return Plan{.what = Plan::Answer{.bodyLimit = 1 << 20,
                        .answer = [](const Request& request) { return Response{.body = request.body}; }}};
    }
    Response failure(const std::exception&) noexcept override { return Response{.status = 500}; }
};

/// An HTTP server with short timeouts.
class Limits : public testing::Test {
protected:
    explicit Limits(HttpLimits limits = {.maxConnections = 2,
                        .headTime = std::chrono::milliseconds(100),
                        .idleTime = std::chrono::milliseconds(100),
                        .silence = std::chrono::milliseconds(100)})
        : server(handler, std::move(limits), log, metrics)
        , port(server.listen("127.0.0.1", 0))
        , thread([this] { server.run(); })
    {
        std::signal(SIGPIPE, SIG_IGN);
    }
    ~Limits() override
    {
        server.stop(std::chrono::seconds(60));
        thread.join();
    }

    Echo handler;
    Log log{-1};
    Metrics metrics;
    HttpServer server;
    std::uint16_t port;
    std::thread thread;
};

TEST_F(Limits, ClosesStalledConnections)
{
    for (const auto* begun : {"", "GET / HT", "POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\nab"}) {
        Wire wire(port);
        wire.send(begun);
        EXPECT_EQ(wire.read().status, 0U) << begun; // Returns when the server has closed the connection.
    }
    EXPECT_GE(metrics.timeouts.load(), 2U);
    // Requests a long response and does not read it.
    const Wire deaf(port);
    deaf.send("GET /long HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_TRUE(pollUntil([&] { return metrics.accepted >= 4 && metrics.connections == 0; }, std::chrono::minutes(2)));
}

class Draining : public Limits {
protected:
    Draining()
        : Limits({})
    {
    }
};

TEST_F(Draining, FinishesStartedRequests)
{
    Wire idle(port);
    idle.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(idle.read().status, 200U);
    Wire begun(port);
    begun.send("POST / HTTP/1.1\r\nHost: x\r\nExpect: 100-continue\r\nContent-Length: 4\r\n\r\n");
    EXPECT_EQ(begun.read().status, 100U);
    server.stop(std::chrono::seconds(60));
    idle.awaitEnd();
    begun.send("late");
    const auto reply = begun.read();
    EXPECT_EQ(reply.status, 200U);
    EXPECT_EQ(reply.body, "late");
    begun.awaitEnd();
}

} // namespace

} // namespace orvo::test
