#include "PublisherFixture.h"

#include "OrvoVideo/publishing/JsonObject.h"
#include "OrvoVideo/publishing/PublicationFiles.h"
#include "TestSupport/OrdinaryUser.h"

#include <format>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

class PublisherTests : public PublisherFixture { };

TEST_F(PublisherTests, UploadsEveryFileInOrder)
{
    write(media("screen.mov"), 20'000'000);
    write(media(".hidden"), 10);
    write(media("año/nuevo.m4a"), 300);
    write(media("empty.m4a"), 0);
    fs::create_symlink("/etc/passwd", media("passwd"));
    fs::create_directory_symlink("/etc", media("etc"));
    server.forgetRequests();

    const auto publication = publish();
    EXPECT_THAT(publication.videoID, testing::MatchesRegex("[0-9a-f-]{36}"));
    EXPECT_EQ(publication.url, "https://video.ejemplo.es/watch/" + publication.videoID);
    EXPECT_THAT(publication.domains, ElementsAre("https://www.ejemplo.es"));
    EXPECT_TRUE(publication.publicLink);
    expectReceived(
        {"media/screen.mov", "media/.hidden", "media/año/nuevo.m4a", "project.json", "hls/master.m3u8", "hls/480/00000.ts"});
    EXPECT_EQ(server.query("SELECT path, role, size FROM files WHERE size < 300 ORDER BY path"),
        "hls/master.m3u8|stream|200|media/.hidden|source|10");
    EXPECT_EQ(
        server.query("SELECT title, domains, public_link FROM videos"), project.title + R"(|["https://www.ejemplo.es"]|1)");
    EXPECT_FALSE(fs::exists(session));
    EXPECT_THAT(pauses, IsEmpty());

    // Requests the offset of each file, then sends it in chunks of 8 MiB.
    const auto asked = server.asked();
    ASSERT_EQ(asked.size(), 3U + 6 + 8 + 3);
    EXPECT_EQ(asked[0], "GET /api/status");
    EXPECT_EQ(asked[1], "POST /api/videos");
    EXPECT_EQ(asked[2], "POST /api/videos/" + publication.videoID + "/revisions");
    EXPECT_THAT(asked[3], StartsWith("GET /api/uploads/"));
    EXPECT_THAT(asked[4], StartsWith("PUT /api/uploads/"));
    EXPECT_THAT(asked[asked.size() - 3], AllOf(StartsWith("POST /api/revisions/"), testing::EndsWith("/retry")));
    EXPECT_THAT(asked.back(), testing::EndsWith("/publish"));
    EXPECT_THAT(ranges(),
        testing::IsSupersetOf(
            {"bytes 0-8388607/20000000", "bytes 8388608-16777215/20000000", "bytes 16777216-19999999/20000000"}));
    EXPECT_EQ(progress.front().first, "Subiendo media/.hidden");
    EXPECT_EQ(progress.back(), std::pair(std::string("Guardando en el servidor · 6/6"), 1.0));
    EXPECT_EQ(progress[progress.size() - 2], std::pair(std::string("Subiendo hls/master.m3u8"), 1.0));
    for (const auto& request : server.requests())
        EXPECT_TRUE(request.event != "asked" || request.authorization == "Bearer secreto");
}

TEST_F(PublisherTests, WaitsForDriveOrReportsItsFailures)
{
    struct Case {
        std::string files; ///< The server's report on the files, `times` times; then it stores them.
        int times;
        std::string progress;
        std::string failure;
        std::size_t pauses;
    };
    const std::vector<Case> cases{
        {R"([{"status":"storing"},{"status":"ready"}])", 3, "1/2", "", 3},
        {R"([{"status":"storing"}])", 100'000, "0/1",
            "La publicación sigue pendiente. Puedes reanudarla desde este proyecto.", 7'200},
        {R"([{"status":"ready"},{"status":"error","error":"Drive está lleno."},{"status":"error","error":"otro"}])", 2, "",
            "Drive está lleno.", 0},
        {R"([{"status":"error"}])", 2, "", "Drive no ha podido guardar un archivo. Puedes reintentar la publicación.", 0},
        {R"([])", 2, "0/0", "", 0},
        {R"([{"status":"ready"},7])", 2, "0/0", "", 0},
    };
    const std::string drive = R"({"path":"/api/status","do":"answer","json":{"connected":true}})";
    for (const auto& [files, times, shown, expected, count] : cases) {
        pauses.clear();
        progress.clear();
        server.setFaults(
            std::format(R"([{},{{"method":"GET","path":"/api/revisions/","times":{},"do":"answer","json":{{"files":{}}}}}])",
                drive, times, files));
        EXPECT_EQ(failure(), expected) << files;
        if (!shown.empty()) {
            EXPECT_THAT(progress, Contains(Pair("Guardando en Google Drive · " + shown, testing::_))) << files;
        }
        EXPECT_EQ(pauses, std::vector<std::int64_t>(count, 2)) << files;
        EXPECT_EQ(fs::exists(session), !expected.empty()) << files;
    }
    server.setFaults(R"([{"path":"/api/status","do":"answer","json":{"connected":false}}])");
    server.forgetRequests();
    EXPECT_EQ(failure(), "Conecta Google Drive desde Ajustes antes de publicar.");
    EXPECT_THAT(server.asked(), ElementsAre("GET /api/status"));
}

TEST_F(PublisherTests, TreatsUnknownVideosAsWithdrawn)
{
    const auto answerWith = [&](int status) {
        server.setFaults(std::format(
            R"([{{"method":"DELETE","path":"/api/videos/","do":"answer","status":{},"json":{{"error":"No."}}}}])", status));
    };
    answerWith(404);
    EXPECT_NO_THROW(publisher().withdraw("a"));
    answerWith(403);
    EXPECT_THROW(publisher().withdraw("a"), Error);
}

TEST_F(PublisherTests, RejectsUnreadablePackages)
{
    fs::remove_all(hls);
    EXPECT_NE(failure(), "");
    write(hls, 10); // A file instead of the folder.
    EXPECT_NE(failure(), "");
    fs::remove(hls);
    write(hls / "master.m3u8", 200);
    write(hls / "480/00000.ts", 5'000);
    for (const auto& place : {folder.path(), folder / "library", store.directory(project.id)})
        fs::permissions(place, fs::perms::all, fs::perm_options::add);
    fs::permissions(hls / "480", fs::perms::none);
    {
        const OrdinaryUser user;
        EXPECT_THROW(publicationFiles(project, store, hls, {}), fs::filesystem_error) << "an unreadable subfolder";
    }
    EXPECT_THAT(server.asked("POST"), Not(Contains(testing::EndsWith("/publish"))));
}

TEST_F(PublisherTests, HandlesIncompleteAnswers)
{
    server.setFaults(R"([{"method":"POST","path":"/api/revisions/","skip":1,"do":"answer","json":{}}])");
    const auto publication = publish();
    EXPECT_EQ(publication.url, server.address() + "/watch/" + publication.videoID);
    for (const auto* answer : {R"({})", R"({"id":"r1"})", R"({"id":7,"uploads":[]})", R"({"id":"r1","uploads":{}})"}) {
        server.setFaults(std::string(R"([{"method":"POST","path":"/api/videos/","do":"answer","json":)") + answer + "}]");
        EXPECT_EQ(failure(), "Respuesta de publicación inválida.") << answer;
        EXPECT_TRUE(fs::exists(session));
    }
    for (const auto* uploads : {R"([])", R"([{"path":"project.json"},{"path":"project.json","id":"u1"}])"}) {
        server.setFaults(std::string(R"([{"method":"POST","path":"/api/videos/","do":"answer","json":{"id":"r1","uploads":)")
            + uploads + "}}]");
        EXPECT_EQ(failure(), "No se ha encontrado la sesión de subida.") << uploads;
    }
}

TEST_F(PublisherTests, ResumesOnlyTheSameFilesOnTheSameServer)
{
    const auto failAtTheEnd = [&] {
        server.setFaults(
            R"([{"method":"POST","path":"/api/revisions/","do":"answer","status":500,"json":{"error":"fin"}}])");
        EXPECT_EQ(failure(), "fin");
    };
    const auto isResumed = [&] {
        server.setFaults("");
        server.forgetRequests();
        publish();
        return server.asked("POST /api/videos/").empty();
    };
    failAtTheEnd();
    EXPECT_TRUE(isResumed());

    failAtTheEnd();
    write(media("more.m4a"), 10);
    EXPECT_FALSE(isResumed()) << "another file";
    failAtTheEnd();
    fs::rename(media("more.m4a"), media("renamed.m4a"));
    EXPECT_FALSE(isResumed()) << "another name";
    failAtTheEnd();
    std::ofstream(media("renamed.m4a")) << "0123456789";
    EXPECT_FALSE(isResumed()) << "another content";

    failAtTheEnd();
    const std::string whole = readFile(session);
    const auto withServer = [&](const std::string& address) {
        return JsonBuilder(*JsonObject::parse(whole)).set("server", address).text();
    };
    for (const auto& content : {withServer("https://localhost:1"), withServer(server.address() + "/"), std::string("{"),
             std::string("[]"), std::string(), JsonBuilder(*JsonObject::parse(whole)).set("uploads", true).text(),
             JsonBuilder(*JsonObject::parse(whole)).set("id", true).text()}) {
        std::ofstream(session) << content;
        EXPECT_FALSE(isResumed()) << content;
        failAtTheEnd();
    }
    EXPECT_TRUE(isResumed());

    // The server no longer knows the revision.
    failAtTheEnd();
    server.query("DELETE FROM revisions");
    EXPECT_FALSE(isResumed());
    EXPECT_FALSE(fs::exists(session));
    failAtTheEnd();
    fs::remove(session);
    fs::create_directory(session);
    server.setFaults("");
    EXPECT_THAT(failure(), HasSubstr("upload-session.json")) << "the record cannot be written";
}

} // namespace

} // namespace orvo::test
