#include "BridgeProcess.h"
#include "TestSupport/Media.h"
#include "TestSupport/SmallDisk.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/RecordedProject.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "VideoMedia/RecordingPreparation.h"

#include <format>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* startScreen =
    R"({"type":"start","title":"Clase · una «pestaña»","width":320,"height":180,"fps":30,"tracks":["screen"]})";

class Bridge : public testing::Test {
protected:
    VideoProject only() const
    {
        const auto projects = ProjectStore(library.path()).list();
        EXPECT_THAT(projects, SizeIs(1));
        return projects.empty() ? VideoProject() : projects.front();
    }

    /// Sends a file in chunks and checks each answer.
    static void sendFile(BridgeProcess& bridge, std::string_view track, const fs::path& file, std::size_t piece = 50'000)
    {
        const std::string content = readFile(file);
        int sequence = 0;
        for (std::size_t at = 0; at < content.size(); at += piece) {
            bridge.send(chunkMessage(track, sequence, std::string_view(content).substr(at, piece)));
            EXPECT_EQ(bridge.answer(), std::format(R"({{"type":"written","track":"{}","sequence":{}}})", track, sequence));
            ++sequence;
        }
    }

    static VideoProject prepared(VideoProject project, const ProjectStore& store)
    {
        const FfprobeMediaProbe probe;
        RecordingPreparation::apply(
            project, RecordingPreparation::prepare(project, store, probe, RecordingPreparation::Which::needed));
        return project;
    }

    TemporaryFolder library;
};

/// Writes the recording of a tab as browsers do: without a duration in the file, with times from 0.
fs::path tabFile(const TemporaryFolder& folder, double seconds)
{
    const fs::path file = folder / "tab.webm";
    makeMedia(file,
        {"-f", "lavfi", "-i", std::format("testsrc2=size=320x180:rate=30:duration={}", seconds), "-f", "lavfi", "-i",
            std::format("sine=440:duration={}", seconds), "-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", "8",
            "-c:a", "libopus", "-live", "1"});
    return file;
}

TEST_F(Bridge, RecordsATabIntoTheLibrary)
{
    const TemporaryFolder media;
    const fs::path tab = tabFile(media, 6);
    const fs::path voice = media / "voice.webm";
    ffmpeg({"-f", "lavfi", "-i", "sine=300:duration=5.9", "-c:a", "libopus", "-live", "1", voice.string()});

    BridgeProcess bridge(library.path());
    bridge.send(R"({"type":"hello","version":1})");
    EXPECT_EQ(bridge.answer(), R"({"type":"hello","version":1})");
    // The mark shows the application that the extension is installed. The second answer comes after it is written.
    bridge.send(R"({"type":"hello","version":1})");
    EXPECT_EQ(bridge.answer(), R"({"type":"hello","version":1})");
    EXPECT_TRUE(fs::exists(bridge.home() / "OrvoVideo/extension-connected"));
    bridge.send(
        R"({"type":"start","title":"Clase · una «pestaña»","width":320,"height":180,"fps":30,"tracks":["screen","microphone"]})");
    EXPECT_THAT(*bridge.answer(), HasSubstr("started"));
    auto project = only();
    const ProjectStore store(library.path());
    EXPECT_EQ(project.state, "recording-tab");
    EXPECT_TRUE(CaptureSession::isAlive(CaptureSession::recordingProcess(store.directory(project.id)), false));

    bridge.send(R"({"type":"starts","tracks":[{"track":"microphone","seconds":0.125}]})");
    sendFile(bridge, "screen", tab);
    sendFile(bridge, "microphone", voice);
    bridge.send(
        R"({"type":"pointer","events":[{"kind":"move","time":0.5,"x":0.25,"y":0.75},{"kind":"click","time":1,"x":1,"y":0}]})");
    bridge.send(R"({"type":"pointer","events":[{"kind":"zoom","time":2.25,"x":0.5,"y":0.5}]})");
    bridge.send(R"({"type":"progress","seconds":5})");
    bridge.send(R"({"type":"stop","seconds":6})");
    EXPECT_THAT(*bridge.answer(), HasSubstr("finished"));
    EXPECT_EQ(bridge.hangUp(), 0);

    project = only();
    EXPECT_EQ(project.state, "processing-tab");
    EXPECT_EQ(project.title, "Clase · una «pestaña»");
    EXPECT_EQ(project.duration, 6);
    EXPECT_EQ(readFile(store.directory(project.id) / "media/screen.webm"), readFile(tab));
    EXPECT_FALSE(fs::exists(store.directory(project.id) / CaptureSession::fileName));
    EXPECT_EQ(project.tracks[1].start, 0.125);

    project = prepared(project, store);
    EXPECT_EQ(project.state, "ready");
    ASSERT_THAT(project.tracks, SizeIs(2));
    EXPECT_EQ(project.tracks[1].start, 0);
    const auto screen = probe(store.directory(project.id) / project.tracks[0].file);
    EXPECT_EQ(screen.videoCodec, "h264");
    EXPECT_EQ(screen.frames, 180);
    EXPECT_NEAR(screen.audioDuration, 6, 0.05);
    EXPECT_NEAR(probe(store.directory(project.id) / project.tracks[1].file).audioDuration, 0.125 + 5.9, 0.05);
    ASSERT_THAT(project.edit.events, SizeIs(3));
    EXPECT_EQ(project.edit.events[1].kind, PointerKind::click);
    EXPECT_EQ(project.edit.events[2].time, 2.25);
}

TEST_F(Bridge, KeepsReceivedDataWhenInterrupted)
{
    const TemporaryFolder media;
    const std::string content = readFile(tabFile(media, 8));
    const auto recordHalf = [&](BridgeProcess& bridge) {
        bridge.send(startScreen);
        EXPECT_THAT(*bridge.answer(), HasSubstr("started"));
        const std::string_view half = std::string_view(content).substr(0, content.size() / 2);
        bridge.send(chunkMessage("screen", 0, half));
        EXPECT_THAT(*bridge.answer(), HasSubstr("written"));
        bridge.send(R"({"type":"pointer","events":[{"kind":"move","time":0.5,"x":0.25,"y":0.75}]})");
        bridge.send(R"({"type":"progress","seconds":4})");
    };
    const std::vector<std::pair<const char*, std::function<void(BridgeProcess&)>>> ends{
        {"the browser closes", [](BridgeProcess& bridge) { EXPECT_EQ(bridge.hangUp(), 0); }},
        {"SIGTERM", [](BridgeProcess& bridge) { bridge.kill(SIGTERM); }},
        {"killed", [](BridgeProcess& bridge) { bridge.kill(SIGKILL); }},
        {"half a message",
            [](BridgeProcess& bridge) {
                bridge.sendBytes(std::string("\x40\0\0\0{\"type\":\"chunk\"", 19));
                EXPECT_EQ(bridge.hangUp(), 0);
            }},
        {"an impossible length",
            [](BridgeProcess& bridge) {
                bridge.sendBytes("\xff\xff\xff\xff{}");
                EXPECT_EQ(bridge.answer(), std::nullopt);
                EXPECT_EQ(bridge.hangUp(), 0);
            }},
        {"a chunk is missing",
            [](BridgeProcess& bridge) {
                bridge.send(chunkMessage("screen", 2, "abc"));
                EXPECT_THAT(*bridge.answer(), HasSubstr(R"("reason":"protocol")"));
                EXPECT_EQ(bridge.hangUp(), 0);
            }},
    };
    for (const auto& [name, end] : ends) {
        SCOPED_TRACE(name);
        const TemporaryFolder place;
        BridgeProcess bridge(place.path());
        recordHalf(bridge);
        end(bridge);

        const ProjectStore store(place.path());
        const auto projects = store.list();
        ASSERT_THAT(projects, SizeIs(1));
        auto project = projects.front();
        const bool killed = std::string_view(name) == "killed";
        EXPECT_EQ(project.state, killed ? "recording-tab" : "recoverable-tab");
        const auto recorder = CaptureSession::recordingProcess(store.directory(project.id));
        ASSERT_TRUE(recorder);
        EXPECT_FALSE(CaptureSession::isAlive(recorder, false));
        project = prepared(project, store);
        EXPECT_EQ(project.state, "ready");
        EXPECT_GT(probe(store.directory(project.id) / project.tracks[0].file).frames, 90);
        EXPECT_GT(project.duration, 3);
        EXPECT_THAT(project.edit.events, SizeIs(killed ? 0 : 1));
    }
}

TEST_F(Bridge, RejectsInvalidMessages)
{
    const std::string longTitle(301, 'a');
    const std::vector<std::string> refused{
        "",
        "x",
        "null",
        "[]",
        "{}",
        R"({"type":7})",
        R"({"type":"format-disk"})",
        R"({"type":"hello"})",
        R"({"type":"hello","version":"1"})",
        R"({"type":"chunk","track":"screen","sequence":0,"data":"AAAA"})",
        R"({"type":"stop","seconds":1})",
        R"({"type":"open","project":"../x"})",
        R"({"type":"progress","seconds":1})",
        R"({"type":"start","title":"a","width":320,"height":180,"fps":30,"tracks":[]})",
        R"({"type":"start","title":"a","width":320,"height":180,"fps":30,"tracks":["microphone"]})",
        R"({"type":"start","title":"a","width":320,"height":180,"fps":30,"tracks":["screen","screen"]})",
        R"({"type":"start","title":"a","width":320,"height":180,"fps":30,"tracks":["../../evil"]})",
        R"({"type":"start","title":"a","width":320,"height":180,"fps":30,"tracks":["clip","screen"]})",
        R"({"type":"start","title":"a","width":321,"height":180,"fps":30,"tracks":["screen"]})",
        R"({"type":"start","title":"a","width":1e9,"height":180,"fps":30,"tracks":["screen"]})",
        R"({"type":"start","title":"a","width":320,"height":-180,"fps":30,"tracks":["screen"]})",
        R"({"type":"start","title":"a","width":320,"height":180,"fps":29.97,"tracks":["screen"]})",
        R"({"type":"start","title":")" + longTitle + R"(","width":320,"height":180,"fps":30,"tracks":["screen"]})",
        "{\"type\":\"start\",\"title\":\"\xff\",\"width\":320,\"height\":180,\"fps\":30,\"tracks\":[\"screen\"]}",
        std::string(1'000'000, '['),
    };
    BridgeProcess bridge(library.path());
    for (const auto& message : refused) {
        bridge.send(message);
        EXPECT_THAT(bridge.answer().value_or("nothing"), HasSubstr(R"("reason":"protocol")")) << message.substr(0, 200);
    }
    EXPECT_THAT(ProjectStore(library.path()).list(), IsEmpty());

    // During a recording, each of these messages ends it; then the next one can start.
    const std::vector<std::string> ending{
        R"({"type":"chunk","track":"screen","sequence":0,"data":"AAA"})",
        R"({"type":"chunk","track":"screen","sequence":0,"data":"A*AA"})",
        R"({"type":"chunk","track":"screen","sequence":1,"data":"AAAA"})",
        R"({"type":"chunk","track":"camera","sequence":0,"data":"AAAA"})",
        R"({"type":"chunk","track":"screen/../../x","sequence":0,"data":"AAAA"})",
        R"({"type":"starts","tracks":[{"track":"camera","seconds":1}]})",
        R"({"type":"starts","tracks":[7]})",
        R"({"type":"starts","tracks":[{"track":"screen","seconds":-61}]})",
        R"({"type":"pointer","events":[{"kind":"jump","time":1,"x":0,"y":0}]})",
        R"({"type":"pointer","events":[{"kind":"move","time":1,"x":2,"y":0}]})",
        R"({"type":"progress","seconds":1e300})",
    };
    for (const auto& message : ending) {
        bridge.send(startScreen);
        EXPECT_THAT(bridge.answer().value_or("nothing"), HasSubstr("started"));
        bridge.send(message);
        EXPECT_THAT(bridge.answer().value_or("nothing"), HasSubstr(R"("reason":"protocol")")) << message;
    }
    for (const auto& project : ProjectStore(library.path()).list())
        EXPECT_EQ(project.state, "recoverable-tab");
    EXPECT_EQ(bridge.hangUp(), 0);
}

TEST_F(Bridge, RecordsOneTabAtATime)
{
    BridgeProcess bridge(library.path());
    bridge.send(startScreen);
    EXPECT_THAT(*bridge.answer(), HasSubstr("started"));
    bridge.send(startScreen);
    EXPECT_THAT(*bridge.answer(), HasSubstr(R"("reason":"busy")"));
    // The first recording continues, also when another project cannot be opened.
    bridge.send(R"({"type":"open","project":"6F9619FF-8B86-D011-B42D-00CF4FC964FF"})");
    EXPECT_THAT(*bridge.answer(), HasSubstr(R"("reason":"library")"));
    bridge.send(chunkMessage("screen", 0, "abc"));
    EXPECT_THAT(*bridge.answer(), HasSubstr("written"));
    // Another browser starts its own helper.
    BridgeProcess other(library.path());
    other.send(startScreen);
    EXPECT_THAT(*other.answer(), HasSubstr("started"));
    bridge.send(R"({"type":"stop","seconds":1})");
    EXPECT_THAT(*bridge.answer(), HasSubstr("finished"));
    EXPECT_THAT(ProjectStore(library.path()).list(), SizeIs(2));
}

TEST_F(Bridge, EndsTheRecordingWhenTheDiskIsFull)
{
    const SmallDisk disk(std::size_t{64} << 20);
    if (!disk)
        GTEST_SKIP() << "no permission to mount";
    BridgeProcess bridge(disk.path() / "library");
    bridge.send(startScreen);
    EXPECT_THAT(*bridge.answer(), HasSubstr("started"));
    const ProjectStore store(disk.path() / "library");
    const std::string piece(1'000'000, 'x');
    for (int sent = 0; RecordedProject::hasRoom(store); ++sent) {
        bridge.send(chunkMessage("screen", sent, piece));
        ASSERT_THAT(bridge.answer().value_or("nothing"), HasSubstr("written"));
    }
    // The next checkpoint ends the recording.
    EXPECT_THAT(bridge.answer().value_or("nothing"), HasSubstr(R"("reason":"disk")"));
    const auto projects = store.list();
    ASSERT_THAT(projects, SizeIs(1));
    EXPECT_EQ(projects[0].state, "recoverable-tab");
    EXPECT_EQ(fs::file_size(store.directory(projects[0].id) / "media/screen.webm") % piece.size(), 0U);
    // No recording starts on a full disk.
    bridge.send(startScreen);
    EXPECT_THAT(bridge.answer().value_or("nothing"), HasSubstr(R"("reason":"disk")"));
}

TEST_F(Bridge, NeedsLittleMemory)
{
    BridgeProcess bridge(library.path());
    bridge.send(startScreen);
    EXPECT_THAT(*bridge.answer(), HasSubstr("started"));
    const std::string piece(std::size_t{384} * 1024, 'x');
    for (int i = 0; i < 300; ++i) {
        bridge.send(chunkMessage("screen", i, piece));
        EXPECT_THAT(*bridge.answer(), HasSubstr("written"));
    }
#if !defined(__SANITIZE_ADDRESS__)
    EXPECT_LT(bridge.peakMemory(), std::size_t{40} << 20);
#endif
    bridge.send(R"({"type":"stop","seconds":60})");
    EXPECT_THAT(*bridge.answer(), HasSubstr("finished"));
}

} // namespace

} // namespace orvo::test
