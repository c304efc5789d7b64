#include "ExportFixture.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Timeline.h"
#include "VideoMedia/FilmAudio.h"
#include "VideoMedia/FilmSources.h"
#include "VideoMedia/ProcessRunner.h"
#include "VideoMedia/RenderGraph.h"

#include <cmath>
#include <complex>
#include <format>
#include <gmock/gmock.h>
#include <numbers>
#include <sys/resource.h>

namespace orvo::test {

namespace {

using testing::IsEmpty;

constexpr double frameLength = 1.0 / 30;

class ExportTiming : public ExportFixture {
protected:
    ExportTiming()
        : ExportFixture("library", 6)
    {
    }

    void expectLengths(const ProbedFile& file) const
    {
        const double playable = project.playableDuration();
        EXPECT_NEAR(file.videoDuration, playable, frameLength);
        EXPECT_NEAR(file.frames, playable * 30, 1);
        EXPECT_NEAR(file.audioDuration, file.videoDuration, 0.025);
    }
};

TEST_F(ExportTiming, ExportsARecordingWithEveryEffect)
{
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "testsrc2=size=640x360:rate=30:duration=6");
    makeVideo(addTrack(TrackKind::camera, "camera.mov"), "color=red:size=160x90:rate=30:duration=6");
    makeAudio(addTrack(TrackKind::microphone, "microphone.m4a"), "sine=frequency=300:duration=6,volume=0.05");
    makeAudio(addTrack(TrackKind::system, "system.m4a"), "sine=frequency=900:duration=6,volume=0.02");
    project.width = 640;
    project.height = 360;
    for (int i = 0; i < 72; ++i)
        project.edit.events.edit().push_back(
            pointer(i % 20 == 0 ? PointerKind::click : PointerKind::move, i / 12.0, i / 72.0, 0.5));
    project.edit.events.edit().push_back(pointer(PointerKind::zoom, 1));
    project.edit.overlays = {{.content = "Hola, \"mundo\": {50 %}\n'dos' \\ líneas", .start = 0, .end = 6}};
    project.edit.words = {word("uno", 0.5, 1), word("dos", 1.8, 2.6), word("cortada", 2.1, 2.4), word("tres <&>", 5, 5.5)};
    project.edit.cuts = {{2, 2.5}, {4.123, 4.777}, {2.4, 2.7}};
    project.edit.sharpen = true;
    store.save(project);
    const auto before = readFile(store.directory(project.id) / "project.json");
    std::vector<double> values;
    progress = [&](double value) { values.push_back(value); };

    const auto out = render({.height = 180, .fps = 30, .quality = ExportQuality::small});

    const auto file = probe(out);
    expectLengths(file);
    EXPECT_EQ(file.width, 320);
    EXPECT_EQ(file.height, 180);
    EXPECT_EQ(file.videoCodec, "h264");
    EXPECT_EQ(file.pixelFormat, "yuv420p");
    EXPECT_EQ(file.audioCodec, "aac");
    EXPECT_EQ(file.audioChannels, 2);
    ASSERT_FALSE(values.empty());
    EXPECT_TRUE(std::ranges::is_sorted(values));
    EXPECT_NEAR(values.back(), 1, 0.02);

    EXPECT_EQ(readFile(folder / "out.srt"),
        "1\n00:00:00,500 --> 00:00:01,000\nuno\n\n"
        "2\n00:00:01,800 --> 00:00:02,000\ndos\n\n"
        "3\n00:00:03,646 --> 00:00:04,146\ntres &lt;&amp;&gt;\n\n");
    EXPECT_NO_THROW(ffmpeg(
        {"-v", "error", "-xerror", "-i", (folder / "out.srt").string(), "-f", "webvtt", (folder / "x.vtt").string()}));
    EXPECT_EQ(readFile(store.directory(project.id) / "project.json"), before);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(ExportTiming, KeepsVideoAndAudioInSyncOverFiftyCuts)
{
    makePlain();
    // Both filters add latency, which the mix must compensate.
    project.edit.noiseReduction = true;
    project.edit.normalizeVoice = true;
    project.duration = 60;
    project.width = 160;
    project.height = 90;
    // A white flash of one frame and a click of the same length at every full second.
    makeVideo(addTrack(TrackKind::screen, "screen.mov"),
        "color=black:size=160x90:rate=30:duration=60,drawbox=c=white:t=fill:enable='eq(mod(n,30),0)'");
    makeAudio(addTrack(TrackKind::microphone, "microphone.m4a"),
        "aevalsrc='if(lt(mod(t,1),0.033),sin(2*PI*1000*t),0)':sample_rate=48000:duration=60");
    for (int i = 1; i <= 50; ++i)
        project.edit.cuts.edit().push_back({i + 0.31 + i * 0.0017, i + 0.77 - i * 0.0013});

    const auto out = render();

    expectLengths(probe(out));
    std::vector<double> flashes;
    const auto frames = decodeFrames(out);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (frames[i].mean(0, 0, 1, 1).brightness() > 128)
            flashes.push_back(static_cast<double>(i) / 30);
    }
    std::vector<double> clicks;
    const auto audio = decodeAudio(out);
    for (std::size_t i = 0; i < audio.size(); ++i) {
        const double time = static_cast<double>(i) / 48'000;
        if (std::abs(audio[i]) > 0.3F && (clicks.empty() || time - clicks.back() > 0.2))
            clicks.push_back(time);
    }
    ASSERT_EQ(flashes.size(), 60U);
    ASSERT_EQ(clicks.size(), 60U);
    for (std::size_t i = 0; i < 60; ++i) {
        EXPECT_NEAR(flashes[i], clicks[i], 0.020) << "second " << i;
        const auto expected = Timeline::outputTime(static_cast<double>(i), project.edit.cuts, project.duration);
        // A joint is at most one and a half frames off its exact time, so that an edit moves few others, and its first
        // frame is at most half a frame off.
        EXPECT_NEAR(flashes[i], *expected, 2 * frameLength) << "second " << i;
    }
}

TEST_F(ExportTiming, KeepsVideoAndAudioInSyncOverManyClips)
{
    // Each clip is about half a frame longer than a whole number of frames, and begins with a flash and a click.
    constexpr int clips = 12;
    makePlain();
    for (const double length : {0.516, 31.0 / 60}) {
        SCOPED_TRACE(length);
        project.tracks = {};
        project.width = 160;
        project.height = 90;
        project.duration = clips * length;
        for (int i = 0; i < clips; ++i) {
            const auto file = addTrack(TrackKind::clip, std::format("clip{}.mov", i), i * length, length);
            makeMedia(file,
                {"-f", "lavfi", "-i", "color=black:size=160x90:rate=30:duration=0.6,drawbox=c=white:t=fill:enable='lt(n,2)'",
                    "-f", "lavfi", "-i", "aevalsrc='if(lt(t,0.033),sin(2*PI*1000*t),0)':sample_rate=48000:duration=0.516",
                    "-c:v", "libx264", "-preset", "ultrafast", "-c:a", "pcm_s16le"});
        }
        const auto out = render();

        expectLengths(probe(out));
        const auto frames = decodeFrames(out);
        const auto audio = decodeAudio(out);
        for (int i = 0; i < clips; ++i) {
            const auto start = static_cast<std::size_t>(std::round(i * length * 30));
            EXPECT_GT(frames.at(start).mean(0, 0, 1, 1).brightness(), 128) << "clip " << i;
            if (i > 0) {
                EXPECT_LT(frames.at(start - 1).mean(0, 0, 1, 1).brightness(), 128) << "clip " << i;
            }
            EXPECT_GT(level(audio, i * length + 0.002, i * length + 0.03), 0.3) << "clip " << i;
        }
    }
}

TEST_F(ExportTiming, NormalisesTheVoiceUnlessDisabled)
{
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=gray:size=320x180:rate=30:duration=6");
    makeAudio(addTrack(TrackKind::microphone, "microphone.m4a"), "anoisesrc=color=pink:seed=1:duration=6:amplitude=0.02");
    project.edit.noiseReduction = false;
    project.edit.fade = 0;
    EXPECT_NEAR(loudness(render()), -16, 1.5);

    project.edit.normalizeVoice = false;
    const double plain = loudness(render());
    EXPECT_LT(plain, -30);
    project.tracks.edit()[1].volume = 2;
    EXPECT_NEAR(loudness(render()), plain + 6.02, 0.5);
}

TEST_F(ExportTiming, CleansAMonoMicrophoneLikeItsTwoEqualChannels)
{
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=gray:size=320x180:rate=30:duration=6");
    makeAudio(addTrack(TrackKind::microphone, "microphone.m4a"), "aevalsrc='0.2*sin(600*PI*t)*max(0,sin(PI*t))':d=6");
    const auto program = ProcessRunner::requireFfmpeg();
    auto inputs = FilmSources::of(project, store, program, 180, probeService, {}).inputs;
    ASSERT_TRUE(inputs[1].isMono);
    for (const bool normalises : {false, true}) {
        project.edit.normalizeVoice = normalises;
        std::vector<std::vector<float>> mixes;
        for (const bool isMono : {true, false}) {
            inputs[1].isMono = isMono;
            FilmAudio(program, project, inputs, {}, folder.path()).mix(folder / "mix.wav", {});
            mixes.push_back(decodeAudio(folder / "mix.wav"));
        }
        EXPECT_GT(level(mixes[0], 0, 1), 0.02);
        EXPECT_THAT(mixes[0], testing::Pointwise(testing::FloatNear(2e-4F), mixes[1]));
    }
}

TEST_F(ExportTiming, WritesSilenceWhereThereIsNoAudio)
{
    makePlain();
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=gray:size=320x180:rate=30:duration=6");
    expectLengths(probe(render()));
    EXPECT_LT(level(decodeAudio(folder / "out.mp4"), 0, 6), 1e-4);

    makeAudio(addTrack(TrackKind::system, "system.m4a", 2.5, 2), "sine=frequency=440:duration=2");
    const auto audio = decodeAudio(render());
    EXPECT_LT(level(audio, 0, 2.45), 1e-3);
    EXPECT_GT(level(audio, 2.55, 4.4), 0.05);
    EXPECT_LT(level(audio, 4.6, 6), 1e-3);
}

/// The peak memory of any child of this process so far, in MB.
double peakOfChildren()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

TEST_F(ExportTiming, TakesLittleMemoryForHundredsOfCuts)
{
    // Without an encoder, which would take more memory than the graph.
    project.duration = 60;
    addTrack(TrackKind::screen, "screen.mov");
    const RenderGraph::FrameSize size{.width = 64, .height = 36};
    writeFileAtomically(folder / "annotations.ass", ExportService::annotations(project, size.width, size.height));
    const std::vector<RenderGraph::Input> inputs{{.track = project.tracks.items().front(), .file = "screen.mov"}};
    const auto peak = [&] {
        writeFileAtomically(folder / "graph.txt",
            RenderGraph::video(project, inputs, {.size = size, .annotations = folder / "annotations.ass"}));
        ProcessRunner::run(*ProcessRunner::ffmpeg(),
            {"-filter_complex_threads", "1", "-f", "lavfi", "-i", "color=size=64x36:rate=30:duration=60", "-f", "lavfi",
                "-i", "anullsrc=r=48000:cl=stereo,atrim=duration=60", "-/filter_complex", folder / "graph.txt", "-map",
                "[vout]", "-map", "[aout]", "-f", "null", "-"});
        return peakOfChildren();
    };
    const double uncut = peak();
    for (int i = 0; i < 600; ++i)
        project.edit.cuts.edit().push_back({i * 0.1 + 0.05, i * 0.1 + 0.1});
    // The limit covers the memory for parsing the graph, before an encoder would start.
    EXPECT_LT(peak(), uncut + 120);
}

/// The level of the frequencies from 4 to 12 kHz in the 21 ms around a sample.
double highLevel(const std::vector<float>& samples, std::size_t middle)
{
    constexpr std::size_t window = 1024;
    constexpr double rate = 48'000;
    constexpr double turn = 2 * std::numbers::pi;
    double power = 0;
    for (double frequency = 4'000; frequency < 12'000; frequency += 2 * rate / window) {
        std::complex<double> sum;
        for (std::size_t i = 0; i < window; ++i) {
            const double hann = 0.5 - 0.5 * std::cos(turn * static_cast<double>(i) / window);
            sum += static_cast<double>(samples[middle - window / 2 + i]) * hann
                * std::polar(1.0, -turn * frequency * static_cast<double>(i) / rate);
        }
        power += std::norm(sum);
    }
    return std::sqrt(power);
}

TEST_F(ExportTiming, CutsWithoutClicksWhenThereIsNoFade)
{
    makePlain();
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=gray:size=64x36:rate=30:duration=6");
    const auto voice = addTrack(TrackKind::microphone, "microphone.m4a");
    makeAudio(voice, "sine=frequency=137:duration=6,volume=4");
    // On frames, so that the joints are known exactly.
    project.edit.cuts = {{1, 1.5}, {2, 2.7}, {3.1, 4}};
    const auto film = decodeAudio(render());

    const auto spoken = decodeAudio(voice);
    std::vector<float> bare; // The kept spans joined without fades.
    std::vector<std::size_t> joints;
    for (const auto& span : Timeline::kept(6, project.edit.cuts)) {
        joints.push_back(bare.size());
        const auto at = [&](double time) { return spoken.begin() + std::llround(time * 48'000); };
        bare.insert(bare.end(), at(span.start), span.end < 6 ? at(span.end) : spoken.end());
    }
    double click = 0;
    double heard = 0;
    for (std::size_t i = 1; i < joints.size(); ++i) {
        click = std::max(click, highLevel(bare, joints[i]));
        heard = std::max(heard, highLevel(film, joints[i]));
    }
    EXPECT_LT(heard, click / 10);
}

} // namespace

} // namespace orvo::test
