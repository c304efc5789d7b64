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

TEST_F(PublisherTests, EverythingOfTheProjectArrives)
{
    write(media("screen.mov"), 9'000'000);
    write(media(".hidden"), 10);
    write(media("año/nuevo.m4a"), 300);
    write(media("empty.m4a"), 0);
    fs::create_symlink("/etc/passwd", media("passwd"));
    fs::create_directory_symlink("/etc", media("etc"));
    server.forgetRequests();

    const auto publication = publish();
    EXPECT_EQ(publication.videoID.size(), 36U);
    EXPECT_THAT(publication.videoID, testing::MatchesRegex("[0-9a-f-]+"));
    EXPECT_EQ(publication.url, "https://video.ejemplo.es/watch/" + publication.videoID);
    EXPECT_THAT(publication.domains, ElementsAre("https://www.ejemplo.es"));
    EXPECT_TRUE(publication.publicLink);
    expectReceived(
        {"media/screen.mov", "media/.hidden", "media/año/nuevo.m4a", "project.json", "hls/master.m3u8", "hls/480/00000.ts"});
    EXPECT_THAT(server.state(), testing::Not(HasSubstr("passwd")));
    EXPECT_THAT(server.state(), testing::Not(HasSubstr("empty")));
    for (const auto* part : {R"("path": "media/.hidden", "role": "source", "size": 10)", R"("role": "project")",
             R"("path": "hls/master.m3u8", "role": "stream", "size": 200)", R"("title": ")",
             R"("domains": ["https://www.ejemplo.es"])"})
        EXPECT_THAT(server.state(), HasSubstr(part));
    EXPECT_FALSE(fs::exists(session));
    EXPECT_THAT(pauses, IsEmpty());

    // In this order, each file asked for before it is sent.
    const auto asked = server.asked();
    ASSERT_EQ(asked.size(), 3U + 6 + 7 + 3);
    EXPECT_EQ(asked[0], "GET /api/status");
    EXPECT_EQ(asked[1], "POST /api/videos");
    EXPECT_EQ(asked[2], "POST /api/videos/" + publication.videoID + "/revisions");
    EXPECT_THAT(asked[3], StartsWith("GET /api/uploads/"));
    EXPECT_THAT(asked[4], StartsWith("PUT /api/uploads/"));
    EXPECT_THAT(asked[asked.size() - 3], AllOf(StartsWith("POST /api/revisions/"), testing::EndsWith("/retry")));
    EXPECT_THAT(asked.back(), testing::EndsWith("/publish"));
    EXPECT_EQ(progress.front().first, "Subiendo media/.hidden");
    EXPECT_EQ(progress.back(), std::pair(std::string("Guardando en Google Drive · 6/6"), 1.0));
    EXPECT_EQ(progress[progress.size() - 2], std::pair(std::string("Subiendo hls/master.m3u8"), 1.0));
    for (const auto& request : server.requests())
        EXPECT_TRUE(request.event != "asked" || request.authorization == "Bearer secreto");
}

TEST_F(PublisherTests, ChunksAreOfEightMebibytes)
{
    write(media("screen.mov"), 20'000'000);
    publish();
    const auto sent = ranges();
    ASSERT_EQ(sent.size(), 6U);
    EXPECT_THAT((std::vector(sent.begin(), sent.begin() + 3)),
        ElementsAre("bytes 0-8388607/20000000", "bytes 8388608-16777215/20000000", "bytes 16777216-19999999/20000000"));
    expectReceived({"media/screen.mov"});
    const auto total = static_cast<double>(20'000'000 + fs::file_size(store.directory(project.id) / "project.json") + 5'200);
    EXPECT_DOUBLE_EQ(progress[1].second, 16'777'216 / total);
}

TEST_F(PublisherTests, DriveMustBeConnectedAndMayTakeItsTime)
{
    server.set("storing", "3");
    publish();
    EXPECT_THAT(pauses, ElementsAre(2, 2, 2));
    EXPECT_EQ(progress[progress.size() - 2].first, "Guardando en Google Drive · 0/3");

    server.set("storing", "100000");
    options.pause = [this](std::chrono::seconds time, const std::stop_token&) { pauses.push_back(time.count()); };
    server.setFaults(
        R"([{"method":"GET","path":"/api/revisions/","do":"answer","json":{"files":[{"status":"storing"}]},"times":100000}])");
    pauses.clear();
    EXPECT_EQ(failure(), "La publicación sigue pendiente. Puedes reanudarla desde este proyecto.");
    EXPECT_EQ(pauses.size(), 7'200U);
    EXPECT_TRUE(fs::exists(session));

    server.setFaults("");
    server.set("connected", "false");
    server.forgetRequests();
    EXPECT_EQ(failure(), "Conecta Google Drive desde Ajustes antes de publicar.");
    EXPECT_THAT(server.asked(), ElementsAre("GET /api/status"));
}

TEST_F(PublisherTests, WhatDriveCannotKeepIsTold)
{
    struct Case {
        std::string files;
        std::string expected;
    };
    const std::vector<Case> cases{
        {R"([{"status":"ready"},{"status":"error","error":"Drive está lleno."},{"status":"error","error":"otro"}])",
            "Drive está lleno."},
        {R"([{"status":"error"}])", "Drive no ha podido guardar un archivo. Puedes reintentar la publicación."},
        {R"([])", ""},
        {R"([{"status":"ready"},7])", ""},
    };
    for (const auto& [files, expected] : cases) {
        progress.clear();
        server.setFaults(
            R"([{"method":"GET","path":"/api/revisions/","do":"answer","json":{"files":)" + files + "},\"times\":2}]");
        EXPECT_EQ(failure(), expected) << files;
        EXPECT_EQ(fs::exists(session), !expected.empty());
        if (expected.empty()) {
            EXPECT_EQ(progress.back().first, "Guardando en Google Drive · 0/0");
        }
    }
}

TEST_F(PublisherTests, AVideoThatTheServerDoesNotKnowIsWithdrawn)
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

TEST_F(PublisherTests, APackageThatCannotBeReadIsNotPublished)
{
    fs::remove_all(hls);
    EXPECT_NE(failure(), "");
    write(hls, 10); // A file in its place.
    EXPECT_NE(failure(), "");
    fs::remove(hls);
    write(hls / "master.m3u8", 200);
    write(hls / "480/00000.ts", 5'000);
    for (const auto& place : {folder.path(), folder / "library", store.directory(project.id)})
        fs::permissions(place, fs::perms::all, fs::perm_options::add);
    fs::permissions(hls / "480", fs::perms::none);
    {
        const OrdinaryUser user;
        EXPECT_THROW(publicationFiles(project, store, hls, {}), fs::filesystem_error) << "a folder of it";
    }
    EXPECT_THAT(server.asked("POST"), Not(Contains(testing::EndsWith("/publish"))));
}

TEST_F(PublisherTests, AnswersThatAreNotThereHaveTheirMeaning)
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

TEST_F(PublisherTests, AnUnfinishedPublicationIsResumed)
{
    write(media("screen.mov"), 20'000'000);
    server.setFaults(R"([{"method":"PUT","skip":2,"do":"close","times":6}])");
    EXPECT_EQ(failure(), "Se ha cortado la conexión con el servidor «localhost».");
    EXPECT_THAT(pauses, ElementsAre(2, 4, 8, 16, 32));
    const auto kept = JsonObject::parse(readFile(session));
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->text("server"), server.address());
    EXPECT_EQ(kept->text("fingerprint")->size(), 64U);
    EXPECT_EQ(kept->objects("uploads")->size(), 4U);

    server.forgetRequests();
    publish();
    EXPECT_EQ(ranges().front(), "bytes 16777216-19999999/20000000");
    EXPECT_THAT(server.asked("POST /api/videos/"), IsEmpty()) << "the same revision";
    expectReceived({"media/screen.mov", "hls/master.m3u8"});
    EXPECT_FALSE(fs::exists(session));
}

TEST_F(PublisherTests, ASessionIsUsedForTheSameFilesOnTheSameServerAlone)
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

    // The server has forgotten it.
    failAtTheEnd();
    server.set("revisions", "{}");
    EXPECT_FALSE(isResumed());
    EXPECT_FALSE(fs::exists(session));
    failAtTheEnd();
    fs::remove(session);
    fs::create_directory(session);
    server.setFaults("");
    EXPECT_THAT(failure(), HasSubstr("upload-session.json")) << "it cannot be written";
}

} // namespace

} // namespace orvo::test
