#include "ServerFixture.h"

#include "OrvoServer/app/Backup.h"
#include "OrvoServer/store/SqliteDatabase.h"

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using namespace server;
using testing::HasSubstr;

class Publishing : public ServerFixture {
protected:
    Publishing() { start(); }
};

TEST_F(Publishing, PublishesReplacesAndWithdraws)
{
    EXPECT_EQ(api("GET", "status").body, R"({"connected":true,"storage":"local"})");
    const auto first = publish(lesson(), R"(["www.ejemplo.es"])", false);
    EXPECT_EQ(stored(first.id), "");
    EXPECT_NE(playerConfig(page("embed", {{"Sec-Fetch-Dest", "iframe"}})), "");

    // A response was lost: every step can be repeated, and no file is sent twice.
    EXPECT_EQ(api("POST", "videos", announcement("Una lección", R"(["www.ejemplo.es"])", false)).status, 200U);
    EXPECT_EQ(api("GET", "revisions/" + first.id).status, 200U);
    for (const auto& [path, upload] : first.uploads)
        EXPECT_EQ(offset(upload), lesson().at(path).size()) << path;
    EXPECT_EQ(api("POST", std::format("revisions/{}/retry", first.id)).status, 204U);
    EXPECT_EQ(api("POST", std::format("revisions/{}/publish", first.id)).body,
        std::format(R"({{"url":"https://videos.ejemplo.es/watch/{}"}})", video));

    // A replacement changes nothing until it is published. The server does not request files that it has.
    EXPECT_EQ(api("POST", "videos", announcement("Otro título", R"(["otro.es"])", true)).status, 200U);
    EXPECT_THAT(page("embed", {{"Sec-Fetch-Dest", "iframe"}}).header("Content-Security-Policy"),
        HasSubstr("https://www.ejemplo.es"));
    const auto files = lesson("2");
    const auto second = registered(files);
    EXPECT_EQ(offset(second.uploads.at("media/screen.mov")), files.at("media/screen.mov").size());
    EXPECT_EQ(offset(second.uploads.at("hls/480/00000.ts")), 0U);
    EXPECT_EQ(api("POST", std::format("revisions/{}/publish", second.id)).status, 409U);
    const auto oldMedia = media();
    upload(second, files);
    EXPECT_EQ(api("POST", std::format("revisions/{}/publish", second.id)).status, 200U);
    EXPECT_EQ(ask(port(), "GET", media("watch", "document") + "480/00000.ts").body, "first segment2");
    // The publication removed the domain, which revoked the ticket.
    EXPECT_EQ(ask(port(), "GET", oldMedia + "480/00000.ts").status, 403U);

    for (int times = 0; times < 2; ++times)
        EXPECT_EQ(api("DELETE", std::format("videos/{}", video)).status, 204U);
    EXPECT_EQ(api("DELETE", "videos/00000000-0000-4000-8000-000000000000").status, 204U);
    EXPECT_EQ(page("watch", {{"Sec-Fetch-Dest", "document"}}).status, 404U);
    EXPECT_EQ(api("GET", "revisions/" + second.id).status, 404U);
    EXPECT_EQ(api("POST", std::format("revisions/{}/publish", second.id)).status, 404U);
    EXPECT_EQ(api("PATCH", std::format("videos/{}", video), R"({"domains":[],"publicLink":true})").status, 404U);

    // The video is published again with the files that the server still has.
    const auto again = publish(files, R"([])", true);
    EXPECT_NE(media("watch", "document"), "");
}

TEST_F(Publishing, KeepsTheOldRevisionForItsViewers)
{
    publish(lesson(), R"(["www.ejemplo.es"])", false);
    const auto old = media();
    publish(lesson("2"), R"(["www.ejemplo.es","dos.es"])", false);
    EXPECT_EQ(ask(port(), "GET", old + "480/00000.ts").body, "first segment");
    EXPECT_EQ(ask(port(), "GET", media() + "480/00000.ts").body, "first segment2");
}

TEST_F(Publishing, ResumesUploadsAtTheirOffset)
{
    EXPECT_EQ(api("POST", "videos", announcement("T", "[]", false)).status, 200U);
    const std::string content(300000, 'c');
    const auto revision = registered({{"hls/master.m3u8", content}});
    const auto& id = revision.uploads.at("hls/master.m3u8");

    struct Case {
        std::string name;
        std::string range;
        std::size_t length;
        unsigned status;
        std::uint64_t offset;
    };
    const std::vector<Case> cases{
        {"starts beyond the offset", "bytes 5-9/300000", 5, 409, 0},
        {"has another size", "bytes 0-4/300001", 5, 409, 0},
        {"has another length", "bytes 0-9/300000", 5, 409, 0},
        {"has no range", "", 5, 409, 0},
        {"exceeds 64 bits", "bytes 0-99999999999999999999/300000", 5, 409, 0},
        {"starts at the offset", "bytes 0-9/300000", 10, 200, 10},
        {"repeats the first", "bytes 0-9/300000", 10, 200, 10},
        {"overlaps", "bytes 5-14/300000", 10, 200, 15},
        {"leaves a gap", "bytes 16-17/300000", 2, 409, 15},
    };
    for (const auto& [name, range, length, status, held] : cases) {
        const auto reply =
            ask(port(), "PUT", "/api/uploads/" + id, authorised({{"Content-Range", range}}), content.substr(0, length));
        EXPECT_EQ(reply.status, status) << name;
        EXPECT_EQ(JsonDocument(reply.body).root()["offset"].number(), held) << name;
        EXPECT_EQ(offset(id), held) << name;
    }

    // A connection stalls within its body: the next query of the offset cancels it and reports the received bytes.
    std::vector<std::unique_ptr<Wire>> connections;
    std::uint64_t held = 15;
    while (held == 15) { // Until a query arrives after the server has read a part.
        connections.push_back(std::make_unique<Wire>(port()));
        connections.back()->send(
            std::format("PUT /api/uploads/{} HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer {}\r\nContent-Range: bytes "
                        "15-299999/300000\r\nContent-Length: 299985\r\n\r\n{}",
                id, credential, std::string(270000, 'c')));
        held = offset(id);
    }
    Wire& hanging = *connections.back();
    EXPECT_EQ(put(id, std::string_view(content).substr(held), held, content.size()).status, 200U);
    hanging.send(std::string(29985, 'x'));
    EXPECT_EQ(hanging.read().status, 409U);
    EXPECT_EQ(offset(id), content.size());

    // The prefix of an interrupted body is kept.
    const auto cut = registered({{"hls/480/index.m3u8", content}}).uploads.at("hls/480/index.m3u8");
    Wire wire(port());
    wire.send(std::format("PUT /api/uploads/{} HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer {}\r\nContent-Range: bytes "
                          "0-299999/300000\r\nContent-Length: 300000\r\n\r\n{}",
        cut, credential, std::string(1000, 'c')));
    wire.reset();
    EXPECT_LE(offset(cut), 1000U);
    EXPECT_EQ(put(cut, content, 0, content.size()).status, 200U);
}

TEST_F(Publishing, DiscardsUploadsWithAWrongDigest)
{
    EXPECT_EQ(api("POST", "videos", announcement("T", "[]", false)).status, 200U);
    const Files files{{"hls/master.m3u8", "what was announced"}};
    const auto revision = registered(files);
    const auto& id = revision.uploads.at("hls/master.m3u8");
    const auto reply = put(id, "something else now", 0, 18);
    EXPECT_EQ(reply.status, 422U);
    EXPECT_THAT(reply.body, HasSubstr("master.m3u8"));
    EXPECT_EQ(offset(id), 0U);
    upload(revision, files);
}

TEST_F(Publishing, RejectsInvalidRequests)
{
    const std::string entry = R"({"path":"hls/a","role":"stream","size":1,"sha256":")" + digest("a") + R"("})";
    EXPECT_EQ(api("POST", std::format("videos/{}/revisions", video), R"({"files":[]})").status, 404U);
    EXPECT_EQ(api("POST", "videos", announcement("T", "[]", false)).status, 200U);
    const std::vector<std::pair<std::string, std::string>> changes{{"hls/a", "/etc/passwd"}, {"hls/a", "hls/../x"},
        {"hls/a", "hls//a"}, {"hls/a", "hls/."}, {"hls/a", R"(hls\\a)"}, {"hls/a", R"(hls/\u0000)"}, {"hls/a", ""},
        {"\"stream\"", "\"source\""}, {"\"size\":1", "\"size\":0"}, {"\"size\":1", "\"size\":-1"},
        {"\"size\":1", "\"size\":1.5"}, {digest("a"), "abc"}};
    for (const auto& [from, to] : changes) {
        std::string changed = entry;
        changed.replace(changed.find(from), from.size(), to);
        const auto reply = api("POST", std::format("videos/{}/revisions", video), R"({"files":[)" + changed + "]}");
        EXPECT_EQ(reply.status, 422U) << changed;
        EXPECT_TRUE(JsonDocument(reply.body).root()["error"].text()) << reply.body;
    }
    EXPECT_EQ(
        api("POST", std::format("videos/{}/revisions", video), R"({"files":[)" + entry + "," + entry + "]}").status, 422U);
    for (const auto* body : {"", "[]", "{", R"({"files":1})", R"({"files":[1]})"})
        EXPECT_EQ(api("POST", std::format("videos/{}/revisions", video), body).status, 422U) << body;
    const auto domain = api("POST", "videos", announcement("T", R"(["www.ejemplo.es","no vale; *"])", false));
    EXPECT_EQ(domain.status, 422U);
    EXPECT_THAT(domain.body, HasSubstr("«no vale; *»"));
    EXPECT_EQ(api("POST", "videos", R"({"id":"x","title":"T","domains":[],"publicLink":false})").status, 422U);
    EXPECT_EQ(api("POST", "drive/connect").status, 409U);
    EXPECT_EQ(api("GET", "nothing").status, 404U);
    EXPECT_EQ(api("PUT", "status").status, 405U);
}

TEST_F(Publishing, AcceptsOnlyItsOwnCredential)
{
    for (const std::string& value : std::vector<std::string>{
             "", "Bearer", "Bearer x" + credential, "Basic " + credential, "Bearer " + credential.substr(1), credential}) {
        const auto reply = ask(port(), "GET", "/api/status", {{"Authorization", value}});
        EXPECT_EQ(reply.status, 401U) << value;
        EXPECT_EQ(reply.body, R"({"error":"Credencial incorrecta."})");
    }
}

// Another program locks the database: writers get an error after a while; viewers and queries are not affected.
TEST_F(Publishing, ReportsABusyDatabase)
{
    if (!freshDatabase().empty())
        GTEST_SKIP() << "PostgreSQL has no lock of the whole database";
    publish(lesson(), "[]", true);
    SqliteDatabase other(data.database());
    other.write([&](Session& session) {
        session.run("UPDATE videos SET title = 'taken'");
        const auto reply = api("POST", "videos", announcement("T", "[]", true));
        EXPECT_EQ(reply.status, 503U);
        EXPECT_THAT(reply.body, HasSubstr("ocupada"));
        EXPECT_EQ(api("GET", "status").status, 200U);
        EXPECT_EQ(ask(port(), "GET", media("watch", "document") + "480/00001.ts").body, "second segment");
    });
    EXPECT_EQ(api("POST", "videos", announcement("T", "[]", true)).status, 200U);
}

TEST_F(Publishing, RefusesANewerDatabase)
{
    stop();
    const auto configuration = data.configuration();
    data.openDatabase(configuration)->write([](Session& session) {
        session.run("UPDATE schema_version SET version = version + 1");
    });
    try {
        start();
        ADD_FAILURE() << "the server has started";
    } catch (const std::exception& error) {
        EXPECT_THAT(error.what(), HasSubstr("más nuev"));
    }
    service.reset();
}

TEST_F(Publishing, RestoresABackup)
{
    if (!freshDatabase().empty())
        GTEST_SKIP() << "PostgreSQL is backed up with pg_dump";
    const auto revision = publish(lesson(), "[]", true);
    const auto open = registered({{"hls/480/00000.ts", "not there yet"}});
    EXPECT_EQ(put(open.uploads.at("hls/480/00000.ts"), "not there yet", 0, 13).status, 200U);
    EXPECT_GT(backUp(data, folder / "backup").files, 0U);
    EXPECT_FALSE(fs::exists(folder / "backup/secrets"));
    EXPECT_ANY_THROW(backUp(data, folder / "backup"));
    stop();
    EXPECT_ANY_THROW(restoreBackup(folder / "backup", data));
    data = DataFolder(folder / "restored");
    restoreBackup(folder / "backup", data);
    start();
    EXPECT_EQ(ask(port(), "GET", media("watch", "document") + "480/00001.ts").body, "second segment");
    // A backup contains no unfinished uploads, so the offset is 0 again.
    EXPECT_EQ(offset(open.uploads.at("hls/480/00000.ts")), 0U);
    EXPECT_EQ(offset(revision.uploads.at("hls/480/00000.ts")), 13U);
}

} // namespace

} // namespace orvo::test
