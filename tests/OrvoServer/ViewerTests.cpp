#include "OrvoServer/viewers/Domains.h"
#include "OrvoServer/viewers/Pages.h"
#include "OrvoServer/viewers/Tickets.h"
#include "ServerFixture.h"

namespace orvo::test {

namespace {

using namespace server;
using testing::HasSubstr;
using testing::Not;

TEST(Domains, AcceptsTheSpellingsThatAuthorsType)
{
    const std::map<std::string, std::string> good{
        {"www.ejemplo.es", "https://www.ejemplo.es"},
        {"  WWW.Ejemplo.ES. ", "https://www.ejemplo.es"},
        {"https://www.ejemplo.es/", "https://www.ejemplo.es"},
        {"https://www.ejemplo.es/curso/1?a=b#c", "https://www.ejemplo.es"},
        {"HTTPS://ejemplo.es:443", "https://ejemplo.es"},
        {"http://ejemplo.es", "http://ejemplo.es"},
        {"ejemplo.es:8443", "https://ejemplo.es:8443"},
        {"*.ejemplo.es", "https://*.ejemplo.es"},
        {"http://*.ejemplo.es:81", "http://*.ejemplo.es:81"},
        {"niño.es", "https://xn--nio-8ma.es"},
        {"xn--nio-8ma.es", "https://xn--nio-8ma.es"},
        {"192.168.1.4", "https://192.168.1.4"},
        {"localhost:8000", "https://localhost:8000 http://localhost:8000"},
        {"http://localhost:8000", "http://localhost:8000"},
    };
    for (const auto& [typed, source] : good)
        EXPECT_EQ(AuthorisedDomains({typed}).frameAncestors(), "frame-ancestors " + source) << typed;
    for (const std::string bad : {"", " ", "*", "*.es", "https://", "ftp://ejemplo.es", "ejemplo.es;", "ejemplo.es, otro.es",
             "a b.es", "'none'", "usuario@ejemplo.es", "ejemplo..es", "-a.es", "a-.es", "ejemplo.es:0", "ejemplo.es:99999",
             "ejemplo.es:x", "[::1]", "a.*.es", "data:text/html", "ejemplo_1.es", "null"}) {
        if (bad == "null")
            continue; // A host of one label, as in a local network.
        EXPECT_THROW(AuthorisedDomains({"bien.es", bad}), Error) << bad;
    }
    EXPECT_EQ(AuthorisedDomains({"a.es", "https://A.es/", "a.es"}).frameAncestors(), "frame-ancestors https://a.es");
    EXPECT_EQ(AuthorisedDomains().frameAncestors(), "frame-ancestors 'none'");
}

TEST(Domains, MatchesPagesAsBrowsersDo)
{
    const AuthorisedDomains domains({"www.ejemplo.es", "*.escuela.es", "http://localhost:8000"});
    const std::map<std::string, bool> pages{{"https://www.ejemplo.es/x", true}, {"http://www.ejemplo.es", false},
        {"https://ejemplo.es", false}, {"https://a.b.escuela.es", true}, {"https://escuela.es", false},
        {"https://malaescuela.es", false}, {"http://localhost:8000/", true}, {"http://localhost", false}};
    for (const auto& [page, expected] : pages)
        EXPECT_EQ(domains.allows(originOf(page).value()), expected) << page;
}

TEST(Tickets, RejectsForgedForeignAndExpiredTokens)
{
    SetClock clock;
    const Tickets tickets("a secret of thirty-two bytes or more", {}, clock);
    const Tickets others("another secret of the same kind, long", {}, clock);
    const Permission permission{.video = Uuid::random(),
        .revision = randomText(16),
        .through = Permission::Through::link,
        .epoch = 7,
        .until = clock.time + 600};
    const std::string text = tickets.write(Tickets::Kind::ticket, permission);
    EXPECT_EQ(tickets.read(Tickets::Kind::ticket, text), permission);
    EXPECT_FALSE(tickets.read(Tickets::Kind::grant, text));
    EXPECT_FALSE(others.read(Tickets::Kind::ticket, text));
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string forged = text;
        forged[i] = forged[i] == 'A' ? 'B' : 'A';
        EXPECT_FALSE(tickets.read(Tickets::Kind::ticket, forged)) << i;
        EXPECT_FALSE(tickets.read(Tickets::Kind::ticket, text.substr(0, i)));
    }
    EXPECT_FALSE(tickets.read(Tickets::Kind::ticket, text + "A"));
    clock.time += 599;
    EXPECT_TRUE(tickets.read(Tickets::Kind::ticket, text));
    clock.time += 1;
    EXPECT_FALSE(tickets.read(Tickets::Kind::ticket, text));
}

class Viewers : public ServerFixture {
protected:
    Viewers() { start(); }

    Reply renew(const std::string& grant) const
    {
        return ask(port(), "POST", "/renew", {{"Content-Type", "application/json"}},
            JsonWriter().open('{').member("grant", grant).close('}').take());
    }
    std::string grant(std::string_view kind = "embed", std::string_view destination = "iframe") const
    {
        return JsonDocument(playerConfig(page(kind, {{"Sec-Fetch-Dest", std::string(destination)}})))
            .root()["grant"]
            .text()
            .value_or("");
    }
};

TEST_F(Viewers, ServesThePlayerOnlyWhereItIsAllowed)
{
    publish(lesson(), R"(["www.ejemplo.es"])", false, R"(<script>alert("1")</script> & '})");
    struct Case {
        std::string kind;
        std::string destination;
        bool isPlayer;
        bool isPlayerWithLink;
    };
    const std::vector<Case> cases{{"embed", "iframe", true, true}, {"embed", "frame", true, true}, {"embed", "", true, true},
        {"embed", "document", false, true}, {"embed", "empty", false, false}, {"embed", "object", false, false},
        {"watch", "document", false, true}, {"watch", "", false, true}, {"watch", "iframe", true, true},
        {"watch", "script", false, false}};
    const auto check = [&](bool hasLink) {
        for (const auto& [kind, destination, isPlayer, isPlayerWithLink] : cases) {
            const auto reply = page(kind, destination.empty() ? HeaderList{} : HeaderList{{"Sec-Fetch-Dest", destination}});
            const bool expected = hasLink ? isPlayerWithLink : isPlayer;
            EXPECT_EQ(reply.status, expected ? 200U : 404U) << kind << " " << destination << hasLink;
            EXPECT_EQ(playerConfig(reply).empty(), !expected) << kind << " " << destination << hasLink;
            EXPECT_THAT(reply.header("Content-Security-Policy"), HasSubstr("frame-ancestors https://www.ejemplo.es"));
            EXPECT_EQ(reply.header("Cache-Control"), "no-store");
            EXPECT_THAT(reply.body, Not(HasSubstr("<script>alert")));
        }
    };
    check(false);
    EXPECT_EQ(
        api("PATCH", std::format("videos/{}", video), R"({"domains":["www.ejemplo.es"],"publicLink":true})").status, 204U);
    check(true);
    EXPECT_EQ(JsonDocument(playerConfig(page("watch"))).root()["title"].text(), R"(<script>alert("1")</script> & '})");
    // Repeated slashes count as one. Unknown and malformed identifiers get the same page.
    EXPECT_EQ(ask(port(), "GET", std::format("//watch//{}", video)).status, 200U);
    const auto unknown = ask(port(), "GET", "/watch/00000000-0000-4000-8000-000000000000");
    EXPECT_EQ(unknown.status, 404U);
    EXPECT_EQ(ask(port(), "GET", "/watch/%22%3E%3Cscript%3E").body, unknown.body);
}

TEST_F(Viewers, ServesMediaOnlyWithATicket)
{
    const auto revision = publish(lesson(), R"(["www.ejemplo.es"])", true);
    const std::string base = media();
    struct Case {
        std::string path;
        std::string type;
        std::string caching;
    };
    for (const auto& [path, type, caching] : std::vector<Case>{{"master.m3u8", "application/vnd.apple.mpegurl", "no-store"},
             {"480/index.m3u8", "application/vnd.apple.mpegurl", "no-store"},
             {"key.bin", "application/octet-stream", "no-store"}, {"captions.vtt", "text/vtt; charset=utf-8", "no-store"},
             {"480/00001.ts", "video/mp2t", "public, max-age=31536000, immutable"},
             {"poster.jpg", "image/jpeg", "public, max-age=31536000, immutable"}}) {
        const auto reply = ask(port(), "GET", base + path);
        EXPECT_EQ(reply.status, 200U) << path;
        EXPECT_EQ(reply.body, lesson().at("hls/" + path));
        EXPECT_EQ(reply.header("Content-Type"), type);
        EXPECT_EQ(reply.header("Cache-Control"), caching);
        EXPECT_EQ(reply.header("Access-Control-Allow-Origin"), "*");
        EXPECT_EQ(ask(port(), "HEAD", base + path).header("Content-Length"), std::to_string(reply.body.size()));
    }
    const auto part = ask(port(), "GET", base + "480/00000.ts", {{"Range", "bytes=6-12"}});
    EXPECT_EQ(part.status, 206U);
    EXPECT_EQ(part.body, "segment");
    EXPECT_EQ(part.header("Content-Range"), "bytes 6-12/13");
    EXPECT_EQ(ask(port(), "GET", base + "480/00000.ts", {{"Range", "bytes=13-"}}).status, 416U);

    const std::string ticket = base.substr(3, base.size() - 4);
    for (const std::string& target : std::vector<std::string>{base + "../../media/screen.mov", base + "project.json",
             base + "screen.mov", base + "480/99999.ts", base + "key.bin/x", base + "hls/key.bin",
             "/m/" + ticket.substr(1) + "/key.bin", "/m/x/key.bin", "/m/" + grant() + "/key.bin",
             "/m/" + revision.id + "/key.bin", std::string("/m//key.bin"), std::string("/key.bin")}) {
        const auto reply = ask(port(), "GET", target);
        EXPECT_GE(reply.status, 400U) << target;
        EXPECT_THAT(reply.body, Not(HasSubstr("0123456789abcdef"))) << target;
    }
}

TEST_F(Viewers, RevokesAccessAtOnce)
{
    publish(lesson(), R"(["uno.es","dos.es"])", true);
    const std::string embedded = media();
    const std::string linked = media("watch", "document");
    const std::string embeddedGrant = grant();
    const std::string linkedGrant = grant("watch", "document");
    const auto works = [&](const std::string& base) { return ask(port(), "GET", base + "key.bin").status == 200; };
    const auto access = [&](std::string_view domains, bool link) {
        EXPECT_EQ(
            api("PATCH", std::format("videos/{}", video), std::format(R"({{"domains":{},"publicLink":{}}})", domains, link))
                .status,
            204U);
    };
    access(R"(["tres.es","dos.es","uno.es"])", true); // Adds a domain.
    EXPECT_TRUE(works(embedded));
    EXPECT_TRUE(works(linked));
    EXPECT_EQ(renew(embeddedGrant).status, 200U);
    access(R"(["tres.es","dos.es","uno.es"])", false);
    EXPECT_TRUE(works(embedded));
    EXPECT_FALSE(works(linked));
    EXPECT_EQ(renew(linkedGrant).status, 403U);
    access(R"(["dos.es"])", false);
    EXPECT_FALSE(works(embedded));
    EXPECT_EQ(renew(embeddedGrant).status, 403U);
    EXPECT_TRUE(works(media()));
    const auto last = media();
    EXPECT_EQ(api("DELETE", std::format("videos/{}", video)).status, 204U);
    EXPECT_FALSE(works(last));
}

TEST_F(Viewers, RenewsTickets)
{
    publish(lesson(), "[]", true);
    const auto reply = renew(grant("watch", "document"));
    const JsonDocument answer(reply.body);
    EXPECT_TRUE(answer.root()["revision"].text());
    const auto again = renew(answer.root()["grant"].text().value_or(""));
    EXPECT_EQ(
        ask(port(), "GET", JsonDocument(again.body).root()["media"].text().value_or("") + "480/00000.ts").status, 200U);
    EXPECT_EQ(again.header("Access-Control-Allow-Origin"), "*");
    const auto preflight = ask(port(), "OPTIONS", "/renew", {{"Origin", "null"}, {"Access-Control-Request-Method", "POST"}});
    EXPECT_EQ(preflight.status, 204U);
    EXPECT_EQ(preflight.header("Access-Control-Allow-Headers"), "content-type");
    for (const auto* body : {"", "{}", R"({"grant":1})", R"({"grant":"x"})", "[1"})
        EXPECT_EQ(ask(port(), "POST", "/renew", {}, body).status, 403U) << body;
}

// Fetches a segment every six seconds and renews at two thirds of a ticket's life, as the player does.
TEST_F(Viewers, PlaysForSixHoursOnTenMinuteTickets)
{
    stop();
    clock = &time;
    start();
    publish(lesson(), "[]", true);
    const std::string first = media("watch", "document");
    std::string place = first;
    std::string held = grant("watch", "document");
    std::int64_t renewed = time.time;
    int renewals = 0;
    for (int second = 0; second < 6 * 3600; second += 6, time.time += 6) {
        if (time.time - renewed >= 400) {
            const auto reply = renew(held);
            ASSERT_EQ(reply.status, 200U) << second;
            const JsonDocument answer(reply.body);
            place = answer.root()["media"].text().value_or("");
            held = answer.root()["grant"].text().value_or("");
            renewed = time.time;
            ++renewals;
        }
        ASSERT_EQ(ask(port(), "GET", place + "480/00000.ts").status, 200U) << second;
        if (second == 600) {
            EXPECT_EQ(ask(port(), "GET", first + "480/00000.ts").status, 403U);
        }
    }
    EXPECT_EQ(renewals, 6 * 3600 / 402);
    // After twenty hours of sleep the ticket has expired; after more than a day, so has the grant.
    time.time += 20 * 3600;
    EXPECT_EQ(ask(port(), "GET", place + "key.bin").status, 403U);
    EXPECT_EQ(renew(held).status, 200U);
    time.time += 5 * 3600;
    EXPECT_EQ(renew(held).status, 403U);
    EXPECT_EQ(ask(port(), "GET", media("watch", "document") + "key.bin").status, 200U);
    stop();
}

TEST(Pages, NegotiatesCompressionAndLanguage)
{
    const std::array<Asset, 1> files{
        {{.name = "a.js", .type = "text/javascript", .bytes = "plain", .gzip = "packed", .hash = "h2"}}};
    const Pages pages(files, "/base", true);
    Headers gzip;
    gzip.add("Accept-Encoding", "br, gzip;q=0.8");
    EXPECT_EQ(std::get<std::string_view>(pages.asset("h2", "a.js", gzip).body), "packed");
    EXPECT_EQ(std::get<std::string_view>(pages.asset("h2", "a.js", {}).body), "plain");
    EXPECT_EQ(pages.asset("h1", "a.js", {}).status, 404U);
    const std::map<std::string, std::string> languages{
        {"", "es"}, {"en-US,en;q=0.9", "en"}, {"fr,en;q=0.5,es;q=0.9", "es"}, {"de", "es"}, {"es,en", "es"}};
    for (const auto& [header, language] : languages)
        EXPECT_EQ(languageOf(header), language) << header;
}

} // namespace

} // namespace orvo::test
