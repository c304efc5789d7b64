#include "PublisherFixture.h"

#include "OrvoVideo/publishing/JsonObject.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class PublisherFaults : public PublisherFixture {
protected:
    PublisherFaults() { write(screen, 20'000'000); }

    /// `change` happens when the first chunk of the file was sent.
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

TEST_F(PublisherFaults, AChunkIsSentAgainFromWhereTheServerIs)
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

TEST_F(PublisherFaults, RetriesBeginAnewAfterEveryChunk)
{
    server.setFaults(
        R"([{"method":"PUT","do":"close","times":5},{"method":"PUT","skip":1,"do":"status","status":503,"times":5}])");
    publish();
    EXPECT_THAT(pauses, ElementsAre(2, 4, 8, 16, 32, 2, 4, 8, 16, 32));
    // A server that cannot say where it is ends it.
    fs::remove(screen);
    pauses.clear();
    server.setFaults(
        R"([{"method":"PUT","do":"close"},{"method":"GET","path":"/api/uploads/","skip":1,"do":"answer","status":503,"json":{"error":"Ahora no."}}])");
    EXPECT_EQ(failure(), "Ahora no.");
    EXPECT_THAT(pauses, ElementsAre(2));
}

TEST_F(PublisherFaults, OffsetsMayJump)
{
    // Back to what the server has really kept, although it had said otherwise.
    server.setFaults(R"([{"method":"GET","path":"/api/uploads/","do":"answer","json":{"offset":5000000}}])");
    server.forgetRequests();
    publish();
    EXPECT_THAT(pauses, ElementsAre(2)) << "it refuses a chunk that begins too far";
    EXPECT_THAT(server.asked("PUT"), SizeIs(4 + 3));
    EXPECT_EQ(server.received("media/screen.mov"), readFile(screen));

    // Ahead, to the end and past it: nothing of the file is sent, not even read. The server finds that it is not there.
    write(screen, 20'000'001);
    for (const auto* offset : {"20000001", "90000000"}) {
        server.setFaults(
            std::string(R"([{"method":"GET","path":"/api/uploads/","do":"answer","json":{"offset":)") + offset + "}}]");
        server.forgetRequests();
        onProgress = [](const std::string& text) { EXPECT_NE(text, "Subiendo media/screen.mov"); };
        options.pause = [this](std::chrono::seconds, const std::stop_token&) { server.setFaults(allReady); };
        EXPECT_EQ(failure(), "");
        EXPECT_THAT(server.asked("PUT"), SizeIs(3));
    }
}

TEST_F(PublisherFaults, AServerThatKeepsNothingIsNotSentTheFileForEver)
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

TEST_F(PublisherFaults, NothingIsPublishedThatChangesMeanwhile)
{
    const std::string changed = "El archivo de vídeo ha cambiado durante la subida.";
    const auto restore = [&] {
        write(screen, 20'000'000);
        write(hls / "master.m3u8", 200);
        fs::remove(session); // From the beginning again.
        onProgress = nullptr;
    };
    changeAfterTheFirstChunk([&] { fs::resize_file(screen, 9'000'000); });
    EXPECT_EQ(failure(), changed) << "shorter";
    restore();
    changeAfterTheFirstChunk([&] { std::ofstream(screen, std::ios::binary | std::ios::in | std::ios::out) << "otro"; });
    EXPECT_EQ(failure(), changed) << "other bytes";
    restore();
    changeAfterTheFirstChunk([&] { std::ofstream(screen, std::ios::binary | std::ios::app) << "más"; });
    EXPECT_EQ(failure(), changed) << "longer";
    restore();
    // A file that is replaced or gone before its turn; the one that is open goes on being what it was.
    onProgress = [&](const std::string&) { write(hls / "master.m3u8", 200); };
    EXPECT_EQ(failure(), changed);
    restore();
    onProgress = [&](const std::string&) { fs::remove(hls / "master.m3u8"); };
    EXPECT_THAT(failure(), HasSubstr("master.m3u8"));
    restore();
    const std::string content = readFile(screen);
    changeAfterTheFirstChunk([&] { fs::remove(screen); });
    EXPECT_EQ(failure(), "");
    EXPECT_EQ(server.received("media/screen.mov"), content);
}

TEST_F(PublisherFaults, TheProjectMayBeEditedMeanwhile)
{
    const std::string document = readFile(store.directory(project.id) / "project.json");
    changeAfterTheFirstChunk([&] {
        project.title = "Otro título";
        store.save(project);
    });
    publish();
    EXPECT_EQ(server.received("project.json"), document);
}

TEST_F(PublisherFaults, TheServerMayBeKilledAtAnyMoment)
{
    constexpr int kills = 30;
    std::atomic<int> killed = 0;
    std::atomic<bool> done = false;
    std::mutex mutex; // Held while there is no server.
    options.pause = [&](std::chrono::seconds, const std::stop_token&) { const std::scoped_lock wait(mutex); };
    server.set("storing", "1");
    {
        std::mt19937 random(7);
        std::jthread killer([&] {
            while (!done && killed < kills) {
                // After so many requests more, or in the middle of one.
                const auto before = server.requests().size();
                const auto more = random() % 4;
                while (!done && server.requests().size() < before + more)
                    std::this_thread::yield();
                std::this_thread::sleep_for(std::chrono::microseconds(random() % 8'000));
                const std::scoped_lock lock(mutex);
                server.restart();
                ++killed;
            }
        });
        for (bool published = false; !published || killed < kills;) {
            try {
                if (published)
                    write(screen, 20'000'000 + static_cast<std::size_t>(killed)); // There is more to be interrupted.
                publish();
                published = true;
            } catch (const TransportError&) {
                const std::scoped_lock wait(mutex);
            }
        }
        done = true;
    }
    // Killed for the last time, it still has what was published.
    publish();
    expectReceived({"media/screen.mov", "project.json", "hls/master.m3u8", "hls/480/00000.ts"});
    EXPECT_FALSE(fs::exists(session));
}

TEST_F(PublisherFaults, CancellingKeepsWhatWasSent)
{
    std::stop_source stop;
    changeAfterTheFirstChunk([&] { stop.request_stop(); });
    EXPECT_THROW(publish(stop.get_token()), Cancelled);
    EXPECT_TRUE(fs::exists(session));
    // While it waits to try again.
    std::stop_source other;
    options.pause = Publisher::Options().pause;
    server.setFaults(R"([{"method":"PUT","do":"close","times":9}])");
    {
        std::jthread canceller([&] {
            while (ranges().size() < 2)
                std::this_thread::yield();
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
