#include "ServerFixture.h"

#include <fcntl.h>
#include <unistd.h>

namespace orvo::test {

namespace {

using namespace server;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Admin : public ServerFixture {
protected:
    Admin() { start(); }

    Reply signIn(const std::string& token) const
    {
        return ask(port(), "POST", "/admin/session", {}, JsonWriter().open('{').member("token", token).close('}').take());
    }
    std::string cookie() const
    {
        const std::string header = signIn(credential).header("Set-Cookie");
        return header.substr(0, header.find(';'));
    }
};

TEST_F(Admin, SignsInWithTheCredentialAndEndsTheSessionOnSignOut)
{
    EXPECT_EQ(signIn("wrong").status, 401U);
    const auto reply = signIn(credential);
    EXPECT_EQ(reply.status, 204U);
    EXPECT_THAT(reply.header("Set-Cookie"),
        AllOf(HasSubstr("HttpOnly"), HasSubstr("Secure"), HasSubstr("SameSite=Strict"), HasSubstr("Path=/admin;")));
    const std::string session = cookie();
    const auto status = [&](std::string_view value) {
        return ask(port(), "GET", "/admin/data/videos", {{"Cookie", std::string(value)}}).status;
    };
    EXPECT_EQ(status(session), 200U);
    EXPECT_EQ(status("a=b; " + session + "; c=d"), 200U);
    EXPECT_EQ(status(""), 401U);
    EXPECT_EQ(status("orvo_session=" + credential), 401U);
    EXPECT_EQ(status(session + "x"), 401U);
    // Only the application's interface accepts a credential in a header.
    EXPECT_EQ(ask(port(), "GET", "/admin/data/videos", authorised()).status, 401U);
    EXPECT_EQ(ask(port(), "DELETE", "/admin/session", {{"Cookie", session}}).status, 403U);
    EXPECT_EQ(ask(port(), "DELETE", "/admin/session", {{"Cookie", session}, {"X-Orvo-Admin", "1"}}).status, 204U);
    EXPECT_EQ(status(session), 401U);
    unsigned last = 0;
    for (int guess = 0; guess < 20; ++guess)
        last = signIn("guess").status;
    EXPECT_EQ(last, 429U);
}

TEST_F(Admin, ListsVideosWithTheirStatistics)
{
    publish(lesson(), R"(["www.ejemplo.es"])", true, "50%_'; DROP TABLE videos;--");
    for (int times = 0; times < 2; ++times)
        page("embed", {{"Sec-Fetch-Dest", "iframe"}, {"Referer", "https://ladron.es/pagina?secreto"}});
    page("embed", {{"Sec-Fetch-Dest", "iframe"}, {"Referer", "https://www.ejemplo.es/"}});
    const std::string grant = JsonDocument(playerConfig(page("watch"))).root()["grant"].text().value_or("");
    for (const auto& [view, tenths] : std::vector<std::pair<std::string, std::string>>{
             {"a", "[0,1,1,2]"}, {"a", "[2,3]"}, {"b", "[0]"}, {"c", "[]"}, {"d", "[10,-1,\"x\"]"}}) {
        EXPECT_EQ(
            ask(port(), "POST", "/beat", {}, std::format(R"({{"grant":"{}","view":"{}","tenths":{}}})", grant, view, tenths))
                .status,
            204U);
    }
    EXPECT_EQ(ask(port(), "POST", "/beat", {}, R"({"grant":"x","view":"a","tenths":[0]})").status, 403U);

    const HeaderList signedIn{{"Cookie", cookie()}, {"X-Orvo-Admin", "1"}};
    const auto list = ask(port(), "GET", "/admin/data/videos", signedIn);
    const JsonDocument document(list.body);
    EXPECT_EQ(document.root()["total"].number(), 1U);
    document.root()["videos"].forEach([&](JsonValue row) {
        EXPECT_EQ(row["id"].text(), video);
        EXPECT_EQ(row["title"].text(), "50%_'; DROP TABLE videos;--");
        EXPECT_EQ(row["state"].text(), "published");
        EXPECT_EQ(row["plays"].number(), 2U);
        EXPECT_EQ(row["watch"].text(), std::format("https://videos.ejemplo.es/watch/{}", video));
    });
    EXPECT_THAT(list.body,
        AllOf(HasSubstr("\"duration\":7.5"), HasSubstr(R"({"origin":"https://ladron.es","times":2,)"),
            Not(HasSubstr("secreto"))));
    for (const auto& [search, total] :
        std::map<std::string, std::uint64_t>{{"drop%20table", 1}, {"%25_", 1}, {"5%25", 0}, {"_", 1}, {"x", 0}})
        EXPECT_EQ(JsonDocument(ask(port(), "GET", "/admin/data/videos?q=" + search, signedIn).body).root()["total"].number(),
            total)
            << search;
    const auto plays = ask(port(), "GET", std::format("/admin/data/videos/{}/plays", video), signedIn);
    EXPECT_THAT(plays.body, AllOf(HasSubstr("\"tenths\":[2,1,1,1,0,0,0,0,0,0]"), HasSubstr("\"plays\":2")));
    EXPECT_EQ(ask(port(), "GET", std::format("/admin/poster/{}", video), signedIn).body, "a poster");

    for (const auto& [pageAddress, allowed] : std::map<std::string, bool>{{"https://www.ejemplo.es/curso", true},
             {"http://www.ejemplo.es", false}, {"https://otro.es", false}, {"www.ejemplo.es", false}}) {
        const auto reply = ask(
            port(), "POST", "/admin/data/check", signedIn, std::format(R"({{"id":"{}","page":"{}"}})", video, pageAddress));
        EXPECT_EQ(JsonDocument(reply.body).root()["allowed"].boolean(), allowed) << reply.body;
    }
    EXPECT_THAT(ask(port(), "GET", "/admin/data/health", signedIn).body, HasSubstr(R"("storage":"local")"));
    EXPECT_EQ(ask(port(), "POST", std::format("/admin/data/videos/{}/withdraw", video), {signedIn[0]}).status, 403U);
    EXPECT_EQ(ask(port(), "POST", std::format("/admin/data/videos/{}/withdraw", video), signedIn).status, 204U);
    EXPECT_EQ(page("watch").status, 404U);
    EXPECT_THAT(ask(port(), "GET", "/admin/data/videos", signedIn).body, HasSubstr("\"state\":\"withdrawn\""));
}

TEST_F(Admin, ServesBelowAPrefixAndLogsNoSecrets)
{
    stop();
    const TemporaryFolder other;
    const std::string logFile = other / "log";
    data = DataFolder(other / "data");
    credential = data.init({.address = "https://ejemplo.es/videos/", .listen = "127.0.0.1:0"});
    const int descriptor = ::open(logFile.c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
    Log written(descriptor);
    service = std::make_unique<Service>(data, Service::Options{}, written);
    thread = std::thread([this] { service->run(); });
    EXPECT_EQ(ask(port(), "GET", "/healthz").status, 404U);
    EXPECT_EQ(ask(port(), "GET", "/videos/healthz").status, 200U);
    EXPECT_EQ(ask(port(), "GET", "/metrics").status, 404U);
    EXPECT_EQ(ask(port(), "GET", "/videos/metrics").status, 401U);
    EXPECT_THAT(ask(port(), "GET", "/videos/metrics", authorised()).body, HasSubstr("\norvo_connections "));
    EXPECT_EQ(ask(port(), "POST", "/videos/api/videos", authorised(), announcement("un título", "[]", true)).status, 200U);
    EXPECT_EQ(ask(port(), "GET", "/videos/admin/").header("Content-Type"), "text/html; charset=utf-8");
    EXPECT_EQ(ask(port(), "GET", "/videos/admin").header("Location"), "/videos/admin/");
    stop();
    ::close(descriptor);
    const std::string text = readFile(std::filesystem::path(logFile));
    EXPECT_THAT(text,
        AllOf(HasSubstr("\"route\":\"api/videos\""), Not(HasSubstr(credential)), Not(HasSubstr("127.0.0.1")),
            Not(HasSubstr(std::string(video)))));
}

} // namespace

} // namespace orvo::test
