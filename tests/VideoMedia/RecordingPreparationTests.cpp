#include "VideoMedia/RecordingPreparation.h"

#include "TestSupport/Media.h"
#include "TestSupport/ProjectFixture.h"
#include "VideoCore/Error.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;

class RecordingPreparationTest : public ProjectFixture {
protected:
    RecordingPreparationTest()
        : ProjectFixture("library", 2)
    {
        project.state = ProjectState::needsRecovery;
    }

    /// Makes a fragmented movie like a recorder's and truncates it to `share` of its bytes.
    static void makeInterrupted(const fs::path& file, const std::string& source, double share)
    {
        makeMedia(file,
            {"-f", "lavfi", "-i", source, "-c:v", "libx264", "-preset", "ultrafast", "-g", "10", "-bf", "0", "-movflags",
                "frag_keyframe+empty_moov", "-f", "mov"});
        fs::resize_file(file, static_cast<std::uintmax_t>(static_cast<double>(fs::file_size(file)) * share));
    }

    static void makeBrowserFile(const fs::path& file, const std::vector<std::string>& arguments)
    {
        auto all = arguments;
        all.insert(all.end(), {"-f", "webm", file});
        ffmpeg(all);
    }

    RecordingPreparation::Prepared prepare(RecordingPreparation::Which which)
    {
        return RecordingPreparation::prepare(project, store, probeService, which, {}, stop.get_token());
    }

    FfprobeMediaProbe probeService;
    std::stop_source stop;
};

TEST_F(RecordingPreparationTest, PadsOddFrameSizes)
{
    makeBrowserFile(addTrack(TrackKind::screen, "screen.webm"),
        {"-f", "lavfi", "-i", "color=white:size=101x75:rate=30:duration=1", "-c:v", "libvpx", "-deadline", "realtime"});
    RecordingPreparation::apply(project, prepare(RecordingPreparation::Which::needed));
    EXPECT_EQ(project.state, "ready");
    const auto file = store.mediaURL(project, project.tracks[0].file);
    const auto video = probe(file);
    EXPECT_EQ(video.width, 102);
    EXPECT_EQ(video.height, 76);
    EXPECT_EQ(video.frames, 30);
    EXPECT_GT(decodeFrames(file).front().mean(0.05, 0.05, 0.95, 0.95).brightness(), 230) << "the content fills the frame";
}

TEST_F(RecordingPreparationTest, ConvertsUnreadableTracksAndReadsThePointerLog)
{
    makeBrowserFile(addTrack(TrackKind::microphone, "microphone.webm"),
        {"-f", "lavfi", "-i", "sine=frequency=440:duration=2", "-c:a", "libopus"});
    makeAudio(addTrack(TrackKind::system, "system.m4a"), "sine=frequency=880:duration=2");
    std::ofstream(store.directory(project.id) / "pointer-events.jsonl")
        << R"({"duration":2.5,"id":")" << fixedId(100).text()
        << R"(","kind":"move","scale":1.8,"time":1.5,"x":0.5,"y":0.25})"
        << "\n\n{\"duration\":2.5"; // Truncated.
    const auto before = project;
    RecordingPreparation::apply(project, prepare(RecordingPreparation::Which::needed));
    EXPECT_EQ(project.state, "ready");
    EXPECT_THAT(project.tracks[0].file, MatchesRegex("media/microphone-prepared-[0-9A-F-]{36}\\.m4a"));
    EXPECT_TRUE(fs::exists(store.mediaURL(before, before.tracks[0].file))) << "the original stays";
    EXPECT_EQ(project.tracks[1], before.tracks[1]) << "readable tracks stay unchanged";
    EXPECT_THAT(project.edit.events, SizeIs(1));

    // A project with events keeps them.
    project.edit.events = SharedList(std::vector{pointer(PointerKind::click, 2), pointer(PointerKind::click, 1)});
    RecordingPreparation::apply(project, prepare(RecordingPreparation::Which::needed));
    EXPECT_THAT(project.edit.events, SizeIs(2));
}

TEST_F(RecordingPreparationTest, FillsAudioGapsOfBrowsersWithSilence)
{
    // The timestamps leave a gap of 10 ms after each 0.6 seconds.
    const auto whole = folder / "whole.webm";
    makeBrowserFile(whole,
        {"-f", "lavfi", "-i", "color=size=64x36:rate=10:duration=6", "-f", "lavfi", "-i",
            "aevalsrc='0.5*sin(2*PI*1000*t)*between(t,5,5.2)':s=48000:d=6", "-c:v", "libvpx", "-deadline", "realtime",
            "-c:a", "libopus"});
    for (const auto kind : {TrackKind::screen, TrackKind::microphone}) {
        auto arguments =
            std::vector<std::string>{"-i", whole.string(), "-c", "copy", "-bsf:a", "setts=ts=TS+10*floor(N/30)"};
        if (kind == TrackKind::microphone)
            arguments.emplace_back("-vn");
        makeBrowserFile(addTrack(kind, std::string(textOf(kind)) + ".webm"), arguments);
    }
    RecordingPreparation::apply(project, prepare(RecordingPreparation::Which::needed));
    for (const auto& track : project.tracks) {
        const auto samples = decodeAudio(store.mediaURL(project, track.file));
        const auto tone = std::ranges::find_if(samples, [](float sample) { return std::abs(sample) > 0.1F; });
        EXPECT_NEAR(static_cast<double>(tone - samples.begin()) / 48'000, 5.08, 0.01) << textOf(track.kind);
    }
}

TEST_F(RecordingPreparationTest, AlignsBrowserTracksWithTheScreen)
{
    // In each file, the signal changes after two seconds.
    makeBrowserFile(addTrack(TrackKind::microphone, "microphone.webm"),
        {"-f", "lavfi", "-i", "aevalsrc='0.5*sin(2*PI*1000*t)*between(t,2,2.2)':s=48000:d=4", "-c:a", "libopus"});
    makeBrowserFile(addTrack(TrackKind::camera, "camera.webm"),
        {"-f", "lavfi", "-i", "color=black:size=64x36:rate=30:duration=4,drawbox=t=fill:color=white:enable='gte(t,2)'",
            "-vf", "select='not(mod(n,3))'", "-fps_mode", "vfr", "-c:v", "libvpx", "-deadline", "realtime"});
    project.fps = 30;
    project.duration = 4;
    const auto recorded = project;
    for (const double start : {0.55, 0.0, -0.00006, -0.55}) {
        SCOPED_TRACE(start);
        project = recorded;
        for (auto& track : project.tracks.edit()) {
            track.start = start;
            track.duration = project.duration - start;
        }
        RecordingPreparation::apply(project, prepare(RecordingPreparation::Which::needed));
        for (const auto& track : project.tracks) {
            EXPECT_EQ(track.start, 0);
            EXPECT_NEAR(track.duration, std::max(4.0, 4 + start), 0.1) << textOf(track.kind);
        }
        const auto samples = decodeAudio(store.mediaURL(project, project.tracks[0].file));
        const auto tone = std::ranges::find_if(samples, [](float sample) { return std::abs(sample) > 0.1F; });
        EXPECT_NEAR(static_cast<double>(tone - samples.begin()) / 48'000, 2 + start, 0.03);
        if (start == 0)
            continue; // The file is not resampled to a constant rate.
        const auto frames = decodeFrames(store.mediaURL(project, project.tracks[1].file));
        const auto white =
            std::ranges::find_if(frames, [](const auto& frame) { return frame.at(32, 18).brightness() > 128; });
        EXPECT_NEAR(static_cast<double>(white - frames.begin()) / 30, 2 + start, 0.07);
    }
}

TEST_F(RecordingPreparationTest, RecoversOtherTracksWhenOneIsLost)
{
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "testsrc2=size=64x36:rate=10:duration=2");
    const auto camera = addTrack(TrackKind::camera, "camera.mov");
    project.state = ProjectState::needsRecovery;
    struct Case {
        const char* name;
        std::function<void()> make;
        const char* text;
    };
    const Case cases[]{
        {"missing", [] {}, "Falta «media/camera.mov»."},
        {"empty", [&] { std::ofstream(camera).flush(); }, "«media/camera.mov» no contiene nada que recuperar."},
        {"no media", [&] { std::ofstream(camera) << "texto"; }, "«media/camera.mov» no se puede recuperar: Error opening"},
        {"only a header", [&] { makeInterrupted(camera, "testsrc2=size=64x36:rate=10:duration=2", 0.05); }, ""},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        test.make();
        auto recovered = project;
        const auto prepared = prepare(RecordingPreparation::Which::all);
        EXPECT_THAT(prepared.lostText(), testing::StartsWith(test.text));
        EXPECT_THAT(prepared.lostText(), testing::Not(HasSubstr("\n"))) << "one line with the cause";
        RecordingPreparation::apply(recovered, prepared);
        EXPECT_EQ(recovered.state, "needs-recovery");
        EXPECT_THAT(recovered.tracks[0].file, HasSubstr("-prepared-"));
        EXPECT_EQ(recovered.tracks[1], project.tracks[1]);
        const auto again = RecordingPreparation::prepare(recovered, store, probeService, RecordingPreparation::Which::all);
        EXPECT_TRUE(again.files.empty()) << "converted tracks are not encoded again";
        EXPECT_THAT(again.lost, SizeIs(1));
        RecordingPreparation::dropLost(recovered, again.lost);
        EXPECT_EQ(recovered.state, "ready");
        EXPECT_THAT(recovered.tracks, SizeIs(1));
    }
}

TEST_F(RecordingPreparationTest, ReportsFailuresAndLeavesNoFiles)
{
    const auto screen = addTrack(TrackKind::screen, "screen.mov");
    try {
        prepare(RecordingPreparation::Which::all);
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(RecordingPreparation::failureText(error),
            "No se ha podido recuperar toda la grabación: Falta «media/screen.mov».");
    }
    makeVideo(screen, "testsrc2=size=64x36:rate=10:duration=2");
    stop.request_stop();
    EXPECT_THROW(prepare(RecordingPreparation::Which::all), Cancelled);
    EXPECT_THAT(namesIn(store.directory(project.id) / "media"), SizeIs(1));
}

} // namespace

} // namespace orvo::test
