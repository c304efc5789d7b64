#include "PublisherFixture.h"
#include "TestSupport/Waiting.h"

#include <thread>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class PublisherFaults : public PublisherFixture {
protected:
    PublisherFaults() { write(screen, 20'000'000); }

    /// Calls `change` after the first chunk of the file was sent.
    void changeAfterTheFirstChunk(const std::function<void()>& change)
    {
        onProgress = [this, change](const std::string& text) {
            if (text != "Subiendo media/screen.mov")
                return;
            onProgress = nullptr;
            change();
        };
    }

    fs::path screen = media("screen.mov");
    const std::string allReady = R"([{"method":"GET","path":"/api/revisions/","do":"answer","json":{"files":[]}}])";
};

TEST_F(PublisherFaults, ResendsAChunkFromTheServersOffset)
{
    server.setFaults(R"([{"method":"PUT","skip":1,"do":"cut","bytes":3000000,"times":2}])");
    server.forgetRequests();
    publish();
    EXPECT_THAT(pauses, ElementsAre(2, 4));
    const auto sent = ranges();
    ASSERT_EQ(sent.size(), 4U + 3);
    EXPECT_EQ(sent[1], "bytes 8388608-16777215/20000000");
    EXPECT_EQ(sent[2], "bytes 11388608-19777215/20000000");
    EXPECT_EQ(sent[3], "bytes 14388608-19999999/20000000");
    expectReceived({"media/screen.mov"});
}

TEST_F(PublisherFaults, RestartsRetriesAfterEveryChunk)
{
    server.setFaults(
        R"([{"method":"PUT","do":"close","times":5},{"method":"PUT","skip":1,"do":"status","status":503,"times":5}])");
    publish();
    EXPECT_THAT(pauses, ElementsAre(2, 4, 8, 16, 32, 2, 4, 8, 16, 32));
    // The sixth failure in a row ends the upload, and so does a server that cannot report its offset.
    write(screen, 20'000'000);
    server.setFaults(R"([{"method":"PUT","do":"close","times":6}])");
    EXPECT_EQ(failure(), "Se ha cortado la conexión con el servidor «localhost».");
    server.setFaults("");
    publish();
    fs::remove(screen);
    project.title = "Otro título";
    store.save(project);
    pauses.clear();
    server.setFaults(
        R"([{"method":"PUT","do":"close"},{"method":"GET","path":"/api/uploads/","skip":1,"do":"answer","status":503,"json":{"error":"Ahora no."}}])");
    EXPECT_EQ(failure(), "Ahora no.");
    EXPECT_THAT(pauses, ElementsAre(2));
}

TEST_F(PublisherFaults, FollowsOffsetsThatJump)
{
    // Back: the server has kept less than it reported.
    server.setFaults(R"([{"method":"GET","path":"/api/uploads/","do":"answer","json":{"offset":5000000}}])");
    server.forgetRequests();
    publish();
    EXPECT_THAT(pauses, ElementsAre(2)) << "the server refuses a chunk beyond its offset";
    EXPECT_THAT(server.asked("PUT"), SizeIs(4 + 3));
    EXPECT_EQ(server.received("media/screen.mov"), readFile(screen));

    // Ahead, to the end and beyond: the file is neither read nor sent. The server reports it as missing.
    write(screen, 20'000'001);
    for (const auto* offset : {"20000001", "90000000"}) {
        server.setFaults(
            std::string(R"([{"method":"GET","path":"/api/uploads/","do":"answer","json":{"offset":)") + offset + "}}]");
        server.forgetRequests();
        onProgress = [](const std::string& text) { EXPECT_NE(text, "Subiendo media/screen.mov"); };
        options.pause = [this](std::chrono::seconds, const std::stop_token&) { server.setFaults(allReady); };
        EXPECT_EQ(failure(), "Todavía faltan archivos por guardar. Reanuda la publicación.");
        EXPECT_THAT(server.asked("PUT"), SizeIs(0));
        fs::remove(session);
    }
}

TEST_F(PublisherFaults, GivesUpWhenTheServerKeepsNothing)
{
    server.setFaults(R"([{"method":"PUT","do":"answer","json":{"offset":0},"times":1000}])");
    EXPECT_EQ(failure(), "Respuesta de publicación inválida.");
    EXPECT_THAT(ranges(), SizeIs(5));
    server.setFaults(R"([{"method":"PUT","do":"answer","json":{"offset":-1},"times":1000}])");
    EXPECT_EQ(failure(), "Respuesta de publicación inválida.");
    server.setFaults(R"([{"method":"GET","path":"/api/uploads/","do":"answer","json":{"offset":-1}}])");
    EXPECT_EQ(failure(), "Respuesta de publicación inválida.");
    server.setFaults("");
    publish();
    expectReceived({"media/screen.mov"});
}

TEST_F(PublisherFaults, RejectsFilesThatChangeWhileUploading)
{
    const fs::path master = hls / "master.m3u8";
    const std::string changed = "El archivo de vídeo ha cambiado durante la subida.";
    const std::vector<std::tuple<std::string, std::function<void()>, std::string>> cases{
        {"shorter", [&] { fs::resize_file(screen, 9'000'000); }, changed},
        {"other bytes", [&] { std::ofstream(screen, std::ios::binary | std::ios::in | std::ios::out) << "otro"; }, changed},
        {"longer", [&] { std::ofstream(screen, std::ios::binary | std::ios::app) << "más"; }, changed},
        {"replaced before its turn", [&] { write(master, 200); }, changed},
        {"removed before its turn", [&] { fs::remove(master); }, "master.m3u8"},
    };
    for (const auto& [name, change, text] : cases) {
        write(screen, 20'000'000);
        write(master, 200);
        fs::remove(session); // Starts a new publication.
        changeAfterTheFirstChunk(change);
        EXPECT_THAT(failure(), HasSubstr(text)) << name;
    }
    write(master, 200);
    const std::string content = write(screen, 20'000'000);
    changeAfterTheFirstChunk([&] { fs::remove(screen); });
    EXPECT_EQ(failure(), "") << "an open file keeps its content";
    EXPECT_EQ(server.received("media/screen.mov"), content);
}

TEST_F(PublisherFaults, PublishesTheInitialDocumentWhenEditedMeanwhile)
{
    const std::string document = readFile(store.directory(project.id) / "project.json");
    changeAfterTheFirstChunk([&] {
        project.title = "Otro título";
        store.save(project);
    });
    publish();
    EXPECT_EQ(server.received("project.json"), document);
}

TEST_F(PublisherFaults, KeepsSentChunksWhenCancelled)
{
    std::stop_source stop;
    changeAfterTheFirstChunk([&] { stop.request_stop(); });
    EXPECT_THROW(publish(stop.get_token()), Cancelled);
    EXPECT_TRUE(fs::exists(session));
    // Cancelled while waiting for a retry.
    std::stop_source other;
    options.pause = Publisher::Options().pause;
    server.setFaults(R"([{"method":"PUT","do":"close","times":9}])");
    {
        const std::jthread canceller([&] {
            EXPECT_TRUE(pollUntil([&] { return ranges().size() >= 2; }));
            other.request_stop();
        });
        EXPECT_THROW(publish(other.get_token()), Cancelled);
    }
    server.setFaults("");
    server.forgetRequests();
    publish();
    EXPECT_EQ(ranges().front(), "bytes 8388608-16777215/20000000");
    expectReceived({"media/screen.mov"});
}

} // namespace

} // namespace orvo::test
