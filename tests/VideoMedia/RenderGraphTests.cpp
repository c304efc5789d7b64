#include "TestSupport/Golden.h"
#include "TestSupport/Media.h"
#include "TestSupport/Projects.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/KeptSpans.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/RenderGraph.h"
#include "VideoMedia/ZoomExpression.h"

#include <cmath>
#include <cstring>
#include <format>
#include <gmock/gmock.h>
#include <limits>
#include <regex>

namespace orvo::test {

namespace {

using RenderGraph::FrameSize;
using RenderGraph::Input;
using testing::HasSubstr;
using testing::Not;

std::vector<Input> inputsOf(const VideoProject& project)
{
    std::vector<Input> inputs;
    for (const auto& track : project.tracks)
        inputs.push_back({.track = track, .file = "/library/" + track.file, .hasAudio = true});
    return inputs;
}

std::string videoOf(const VideoProject& project)
{
    return RenderGraph::video(project, inputsOf(project),
        {.size = RenderGraph::outputSize(project, 1080),
            .fps = 30,
            .annotations = "/library/annotations.ass",
            .upload = {}});
}

std::string mixOf(const VideoProject& project)
{
    return RenderGraph::audioMix(project, inputsOf(project), 0.03);
}

VideoProject screenProject()
{
    auto project = emptyProject(12);
    project.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 12)};
    return project;
}

/// ffmpeg rejects exponents, so recordings or fades of some microseconds could not be exported.
TEST(RenderGraph, WritesDurationsWithoutExponents)
{
    const std::pair<double, std::string> cases[] = {{3, "3.0"}, {12.5, "12.5"}, {6e-05, "0.00006"}, {-6e-05, "-0.00006"},
        {5.5e-17, "0.0"}, {0.1 + 0.2, "0.30000000000000004"}, {1e300, "9000000000000.0"},
        {std::numeric_limits<double>::quiet_NaN(), "0.0"}};
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(durationText(seconds), text);

    auto project = emptyProject(6e-05);
    project.tracks = {
        track(TrackKind::screen, "media/screen.mov", 0, 6e-05), track(TrackKind::microphone, "media/voice.m4a", 0, 6e-05)};
    for (const auto& graph : {mixOf(project), videoOf(project)})
        EXPECT_THAT(graph, testing::Not(testing::ContainsRegex("(duration|start|end|[^a-z]d|st)=[0-9.]+e")));
}

TEST(RenderGraph, RoundsTheOutputSizeToEvenAndNeverEnlarges)
{
    struct Case {
        std::int64_t width, height, asked;
        FrameSize expected;
    };
    const Case cases[] = {
        {1920, 1080, 720, {1280, 720}},
        {1920, 1080, 2160, {1920, 1080}},
        {1920, 1080, 480, {852, 480}},
        {1, 1, 1080, {2, 2}},
        {321, 181, 1080, {320, 180}},
        {1080, 1920, 1080, {606, 1080}},
        {std::numeric_limits<std::int64_t>::max(), 0, 1080, {9'007'199'254'740'992, 2}},
    };
    for (const auto& [width, height, asked, expected] : cases) {
        auto project = emptyProject();
        project.width = width;
        project.height = height;
        EXPECT_EQ(RenderGraph::outputSize(project, asked), expected) << width << "x" << height << " at " << asked;
    }
}

TEST(RenderGraph, DerivesTheBitRateFromPixelsAndQuality)
{
    const FrameSize full{1920, 1080};
    EXPECT_EQ(RenderGraph::videoBitRate(ExportQuality::balanced, full, 30), 6'842'880);
    EXPECT_EQ(RenderGraph::videoBitRate(ExportQuality::small, full, 30), 4'043'520);
    EXPECT_EQ(RenderGraph::videoBitRate(ExportQuality::high, full, 30), 11'197'440);
    EXPECT_EQ(RenderGraph::videoBitRate(ExportQuality::small, {2, 2}, 30), 400'000);
    // Six quantiser steps double the bits.
    for (const auto& [coarse, fine] :
        {std::pair{ExportQuality::small, ExportQuality::balanced}, {ExportQuality::balanced, ExportQuality::high}}) {
        const auto rates = static_cast<double>(RenderGraph::videoBitRate(fine, full, 30))
            / static_cast<double>(RenderGraph::videoBitRate(coarse, full, 30));
        const int steps = RenderGraph::minQuantizer(coarse) - RenderGraph::minQuantizer(fine);
        EXPECT_NEAR(6 * std::log2(rates), steps, 1) << textOf(coarse);
    }
}

TEST(RenderGraph, PutsEveryStepInItsPlace)
{
    auto project = emptyProject(14);
    project.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 12),
        track(TrackKind::camera, "media/camera.mov", 0, 12), track(TrackKind::microphone, "media/microphone.m4a", 0.25, 12),
        track(TrackKind::clip, "media/clip.mov", 12, 2)};
    project.edit.overlays = {
        {.kind = Overlay::Kind::image, .content = "media/a.png", .start = 1, .end = 3, .x = 0.25, .y = 0.5, .width = 0.1},
        {.content = "texto"}, {.kind = Overlay::Kind::image, .content = "media/b.png"}};
    project.edit.events = {pointer(PointerKind::zoom, 13, 0.75, 0.5), pointer(PointerKind::zoom, 2, 0.25, 0.25),
        pointer(PointerKind::click, 5)};
    project.edit.cuts = {{4, 5}, {8, 8.3}};
    project.edit.sharpen = true;
    project.edit.fade = 1;
    EXPECT_TRUE(matchesGolden("every-step.video.txt", videoOf(project)));
    EXPECT_TRUE(matchesGolden("every-step.audio.txt", mixOf(project)));
}

TEST(RenderGraph, ReadsOneSpanWithoutSplitting)
{
    auto project = screenProject();
    project.edit.fade = 0;
    EXPECT_TRUE(matchesGolden("one-span.video.txt", videoOf(project)));
    project.edit.fade = 0.5;
    EXPECT_THAT(videoOf(project), HasSubstr("fade=t=in:d=0.5,fade=t=out:st=11.5:d=0.5[v0]"));
    EXPECT_THAT(videoOf(project), HasSubstr("trim=duration=12.0[source0]")) << "a single clip has no separate fade";
}

TEST(RenderGraph, MixesOnlyAudibleTracks)
{
    auto project = emptyProject(5);
    project.tracks = {track(TrackKind::camera, "media/camera.mov", 0, 5)};
    EXPECT_EQ(mixOf(project), "anullsrc=r=48000:cl=stereo,atrim=duration=5.0[mix]")
        << "the audio of the camera is never used";

    project.tracks = {
        track(TrackKind::microphone, "media/m.m4a", -1, 5), track(TrackKind::system, "media/s.m4a", 1.9999, 5)};
    project.tracks.edit()[0].volume = 0;
    EXPECT_THAT(mixOf(project), Not(HasSubstr("[0:a]")));
    EXPECT_THAT(mixOf(project), HasSubstr(",adelay=1999:all=1[voice0];\n[voice0]amix=inputs=1:"));

    project.tracks.edit()[0].volume = 1.5;
    project.edit.noiseReduction = false;
    EXPECT_THAT(mixOf(project),
        HasSubstr("volume=1.5,loudnorm=I=-16:TP=-1.5:LRA=11,asetnsamples=n=19200:p=0,adelay=0:all=1[voice0]"));
    project.edit.normalizeVoice = false;
    EXPECT_THAT(mixOf(project), HasSubstr("volume=1.5,adelay=0:all=1[voice0]"));
}

TEST(RenderGraph, UploadsTheFinishedFrameToHardware)
{
    const auto project = screenProject();
    const auto graph = RenderGraph::video(
        project, inputsOf(project), {.size = {2, 2}, .fps = 30, .annotations = "/a.ass", .upload = "format=nv12,hwupload"});
    EXPECT_TRUE(graph.ends_with("concat=n=1:v=1:a=1[vjoined][aout];\n[vjoined]format=nv12,hwupload[vout]"));
}

/// The values that ffmpeg computes from an expression for every frame of a video of 1000×100 pixels.
std::vector<double> evaluated(std::string expression, double seconds)
{
    for (const auto& [name, value] : {std::pair{"on", "n"}, {"iw", "1000"}, {"ih", "100"}})
        expression = std::regex_replace(expression, std::regex("\\b" + std::string(name) + "\\b"), value);
    const TemporaryFolder folder;
    writeFileAtomically(folder / "graph", std::format("aevalsrc='{}':s=30:d={}[out]", expression, seconds));
    ffmpeg({"-/filter_complex", folder / "graph", "-map", "[out]", "-f", "f64le", folder / "values"});
    const std::string bytes = readFile(folder / "values");
    std::vector<double> values(bytes.size() / sizeof(double));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(double));
    return values;
}

TEST(ZoomExpression, RisesHoldsAndFallsBack)
{
    auto zoom = pointer(PointerKind::zoom, 2, 0.25, 0.75);
    zoom.duration = 2;
    for (const auto& [scale, expected] : {std::pair{2.0, 2.0}, {0.5, 1.0}, {6.0, 4.0}}) {
        zoom.scale = scale;
        const auto expression = ZoomExpression::make(std::vector{zoom}, 10, 30);
        const auto zooms = evaluated(expression.zoom, 5);
        const auto x = evaluated(expression.x, 5);
        EXPECT_DOUBLE_EQ(zooms.at(59), 1);
        EXPECT_DOUBLE_EQ(zooms.at(60), 1) << "starts at 1";
        EXPECT_DOUBLE_EQ(zooms.at(90), expected);
        EXPECT_DOUBLE_EQ(x.at(90), 250);
        EXPECT_DOUBLE_EQ(evaluated(expression.y, 5).at(90), 75);
        EXPECT_DOUBLE_EQ(zooms.at(120), 1) << "back at 1";
        EXPECT_DOUBLE_EQ(x.at(121), 500);
    }
    const auto clamped = ZoomExpression::make(std::vector{zoom}, 3, 30);
    EXPECT_THAT(clamped.zoom, HasSubstr("between(on/30,2.0,3.0)")) << "ends with the recording";
}

/// The magnification by definition: that of the last zoom point that holds at `time`.
double scaleAt(const std::vector<PointerEvent>& zooms, double duration, double time)
{
    double scale = 1;
    for (const auto& zoom : zooms) {
        const double end = std::min(zoom.time + zoom.duration, duration);
        if (time < zoom.time || time > end)
            continue;
        const auto ramp = [](double distance) { return std::min(1.0, std::max(0.0, distance / 0.25)); };
        scale = 1 + (std::clamp(zoom.scale, 1.0, 4.0) - 1) * ramp(time - zoom.time) * ramp(end - time);
    }
    return scale;
}

TEST(ZoomExpression, AppliesTheLastOfManyZooms)
{
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> gap(0, 3);
    std::vector<PointerEvent> zooms;
    double time = 0;
    for (int i = 0; i < 500; ++i) {
        time += gap(random);
        zooms.push_back(pointer(PointerKind::zoom, time, 0.5, 0.5));
        zooms.back().scale = 1 + gap(random);
        zooms.back().duration = i % 40 == 0 ? 60 : gap(random) + 0.5;
    }
    const double duration = time - 1;
    const auto expression = ZoomExpression::make(zooms, duration, 30);
    const auto values = evaluated(expression.zoom, duration); // ffmpeg rejects expressions a hundred levels deep.
    for (std::size_t frame = 0; frame < values.size(); ++frame)
        ASSERT_NEAR(values[frame], scaleAt(zooms, duration, static_cast<double>(frame) / 30), 1e-9) << frame;
}

TEST(KeptSpans, FadesSpansAtTheirEndsWithoutClicks)
{
    auto project = emptyProject(10);
    project.edit.cuts = {{2, 3}, {3.3, 5}};
    project.edit.fade = 0.15;
    using RenderGraph::KeptSpan;
    using testing::ElementsAre;
    EXPECT_THAT(RenderGraph::keptSpans(project, 30),
        ElementsAre(KeptSpan{{0, 2}, 0.15, 0.15, 0.15}, testing::Field(&KeptSpan::videoFade, testing::DoubleNear(0.1, 1e-9)),
            KeptSpan{{5, 10}, 0.15, 0.15, 0.15}))
        << "at most a third of the span";
    project.edit.fade = 0;
    const auto dry = RenderGraph::keptSpans(project, 30);
    ASSERT_EQ(dry.size(), 3U);
    EXPECT_EQ(dry[0], (KeptSpan{{0, 2}, 0, 0, 0.01})) << "the beginning of the recording is not a cut";
    EXPECT_EQ(dry[1].audioIn, 0.01);
    EXPECT_EQ(dry[1].audioOut, 0.01);
    EXPECT_EQ(dry[2], (KeptSpan{{5, 10}, 0, 0.01, 0})) << "the end of the recording is not a cut";
}

} // namespace

} // namespace orvo::test
