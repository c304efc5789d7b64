#include "ExportFixture.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/ProcessRunner.h"
#include "VideoMedia/RenderGraph.h"
#include "VideoMedia/Sharpening.h"
#include "VideoMedia/VideoEncoder.h"

#include <algorithm>
#include <cmath>
#include <format>
#include <gmock/gmock.h>
#include <sstream>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

class ExportVideo : public ExportFixture {
protected:
    std::vector<Frame> frames(const ExportSettings& settings = {}) { return decodeFrames(render(settings)); }
};

/// The place of a white mark in a dark frame: left, top, right and bottom in pixels.
std::array<int, 4> markIn(const Frame& frame)
{
    std::array<int, 4> box{frame.width, frame.height, -1, -1};
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            if (frame.at(x, y).brightness() > 128)
                box = {std::min(box[0], x), std::min(box[1], y), std::max(box[2], x), std::max(box[3], y)};
        }
    }
    return box;
}

/// The mean difference between the samples of two frames of one size, in levels of 256.
double meanDifference(const Frame& one, const Frame& other)
{
    double sum = 0;
    for (std::size_t i = 0; i < one.pixels.size(); ++i)
        sum += std::abs(one.pixels[i] - other.pixels.at(i));
    return sum / static_cast<double>(one.pixels.size());
}

TEST_F(ExportVideo, FadesKeptSpansThroughBlack)
{
    makePlain();
    project.edit.fade = 0.2;
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=white:size=320x180:rate=30:duration=4");
    makeAudio(addTrack(TrackKind::system, "system.m4a"), "sine=frequency=440:duration=4,volume=4");
    project.edit.cuts = {{1, 2}};

    const auto out = render();

    const auto shown = decodeFrames(out);
    ASSERT_EQ(shown.size(), 90U);
    const std::pair<std::size_t, bool> cases[] = {{0, false}, {15, true}, {29, false}, {30, false}, {60, true}, {89, false}};
    for (const auto& [frame, bright] : cases) {
        const int brightness = shown[frame].mean(0, 0, 1, 1).brightness();
        EXPECT_EQ(brightness > 230, bright) << frame << ": " << brightness;
        EXPECT_EQ(brightness > 60, bright) << frame << ": " << brightness;
    }
    const auto audio = decodeAudio(out);
    EXPECT_LT(level(audio, 0.99, 1.01), level(audio, 0.4, 0.6) / 5);
}

TEST_F(ExportVideo, DrawsTheSameFramesOnAnyNumberOfThreads)
{
    project.edit.fade = 0.1;
    project.edit.sharpen = true;
    project.edit.cuts = {{0, 0.35}, {1.01, 1.5}, {2.2, 2.24}, {3, 3.9}};
    project.edit.overlays = {{.kind = Overlay::Kind::image, .content = "media/x.png", .start = 0.5, .end = 3, .x = 0.1}};
    project.edit.events = {pointer(PointerKind::click, 1.6, 0.5, 0.5)};
    const std::vector<RenderGraph::Input> inputs{{.track = track(TrackKind::screen, "", 0, 4), .file = {}},
        {.track = track(TrackKind::camera, "", 0, 4), .file = {}}};
    const RenderGraph::FrameSize size{.width = 320, .height = 180};
    const fs::path annotations = folder / "annotations.ass";
    writeFileAtomically(annotations, ExportService::annotations(project, size.width, size.height));
    const fs::path graph = folder / "graph.txt";
    const fs::path sums = folder / "sums";
    bool quickSharpening = false;
    const auto hashes = [&](const std::string& threads) {
        writeFileAtomically(graph,
            RenderGraph::video(
                project, inputs, {.size = size, .annotations = annotations, .quickSharpening = quickSharpening}));
        ffmpeg({"-y", "-filter_complex_threads", "1", "-filter_complex_threads", threads, "-f", "lavfi", "-i",
            "testsrc2=size=320x180:rate=30:duration=4", "-f", "lavfi", "-i", "testsrc=size=80x60:rate=25:duration=3", "-f",
            "lavfi", "-i", "sine=r=48000:duration=4", "-f", "lavfi", "-i", "testsrc=size=40x40,trim=end_frame=1",
            "-/filter_complex", graph, "-map", "[vout]", "-r", "30", "-f", "framehash", sums, "-map", "[aout]", "-f", "null",
            "-"});
        return readFile(sums);
    };
    for (const bool zooms : {false, true}) {
        quickSharpening = zooms;
        if (zooms)
            project.edit.events.edit().push_back(pointer(PointerKind::zoom, 1, 0.3, 0.3));
        const auto expected = hashes("1");
        EXPECT_GT(std::ranges::count(expected, '\n'), 60);
        EXPECT_TRUE(hashes("3") == expected) << zooms;
    }
}

TEST_F(ExportVideo, MatchesTheExactFilterWhenSharpeningQuickly)
{
    ASSERT_TRUE(Sharpening::hasQuickFilter(*ProcessRunner::ffmpeg()));
    const auto compare = [&](const std::string& what) {
        const fs::path figures = folder / (what + ".txt");
        ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=640x360:rate=5:duration=2", "-filter_complex",
            std::format("[0:v]format=yuv420p,split=3[mine][theirs][plain];[theirs]{}[exact];[mine]{}[quick];"
                        "[exact][{}]ssim=stats_file={}[compared]",
                Sharpening::filter, Sharpening::quickFilter, what, figures.string()),
            "-map", "[compared]", "-map", what == "quick" ? "[plain]" : "[quick]", "-f", "null", "-"});
        std::vector<std::pair<double, double>> similarities; // Of luma and the first chroma plane.
        std::istringstream lines(readFile(figures));
        for (std::string line; std::getline(lines, line);)
            similarities.emplace_back(
                std::stod(line.substr(line.find("Y:") + 2)), std::stod(line.substr(line.find("U:") + 2)));
        return similarities;
    };
    const auto unsharpened = compare("plain");
    const auto sharpened = compare("quick");
    ASSERT_EQ(sharpened.size(), 10U);
    ASSERT_EQ(unsharpened.size(), 10U);
    for (std::size_t n = 0; n < sharpened.size(); ++n) {
        EXPECT_GT(sharpened[n].first, 0.999) << n;
        EXPECT_EQ(sharpened[n].second, 1) << n;
        EXPECT_LT(unsharpened[n].first, 0.996) << n << ": sharpening is visible";
    }
}

TEST_F(ExportVideo, BurnsSubtitlesInAtOutputTimes)
{
    makePlain();
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=0x202020:size=320x180:rate=30:duration=4");
    project.edit.cuts = {{0, 1}};
    project.edit.words = {word("{Hola}", 1.5, 1.9), word("mundo.", 2, 2.4)};
    const auto inkAt = [](const Frame& frame) {
        const auto box = markIn(frame);
        return box[2] >= 0;
    };
    const auto plain = frames();
    EXPECT_FALSE(inkAt(plain.at(20)));
    const auto words = frames({.burnIn = true});
    for (const auto& [frame, isShown] : {std::pair{10U, false}, {20U, true}, {28U, false}, {35U, true}, {50U, false}})
        EXPECT_EQ(inkAt(words.at(frame)), isShown) << frame;
    EXPECT_GT(markIn(words.at(20))[1], 130) << "at the lower edge";
    const auto phrases = frames({.subtitles = SubtitleCues::phrases, .burnIn = true});
    EXPECT_TRUE(inkAt(phrases.at(28))) << "between two words of one phrase";
    EXPECT_FALSE(inkAt(phrases.at(10)));
}

TEST_F(ExportVideo, IgnoresInvisiblyShortFadesAndCuts)
{
    makePlain();
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=white:size=320x180:rate=30:duration=4");
    project.edit.fade = 1e-5;
    project.edit.cuts = {{0, 5e-7}, {1, 2}};
    const auto shown = frames();
    ASSERT_EQ(shown.size(), 90U);
    for (const auto frame : {0U, 29U, 30U, 89U})
        EXPECT_GT(shown[frame].mean(0, 0, 1, 1).brightness(), 230) << frame;
}

TEST_F(ExportVideo, KeepsTinyImagesFromCoveringTheFrame)
{
    makePlain();
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=black:size=320x180:rate=30:duration=1");
    project.duration = 1;
    for (const std::string size : {"400x400", "400x300", "1000x400", "300x400"}) {
        const auto name = "media/" + size + ".png";
        ffmpeg({"-f", "lavfi", "-i", "color=white:size=" + size, "-frames:v", "1", store.directory(project.id) / name});
        for (const double width : {0.001, 0.007})
            project.edit.overlays.edit().push_back(
                {.kind = Overlay::Kind::image, .content = name, .start = 0, .end = 1, .width = width});
    }
    EXPECT_LT(frames().at(15).mean(0, 0, 1, 1).brightness(), 10);
}

TEST_F(ExportVideo, DrawsMarksAndTextsAtTheirPlacesAndTimes)
{
    makePlain();
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=black:size=320x180:rate=30:duration=4");
    project.edit.clickHalo = true;
    project.edit.events = {pointer(PointerKind::move, 0.5, 0.25, 0.5), pointer(PointerKind::click, 1, 0.75, 0.5),
        pointer(PointerKind::move, 2, 0.9, 0.9), pointer(PointerKind::move, 2.1, 0.9, 0.9)};
    project.edit.overlays = {{.content = "ORVO", .start = 2.5, .end = 3.5, .x = 0.5, .y = 0.1}};

    const auto shown = frames();

    const auto bright = [&](double time, double left, double top, double right, double bottom) {
        return shown.at(static_cast<std::size_t>(std::lround(time * 30))).mean(left, top, right, bottom).brightness() > 12;
    };
    // The arrow extends down and to the right from the pointer.
    EXPECT_FALSE(bright(0.3, 0.25, 0.5, 0.31, 0.64));
    EXPECT_TRUE(bright(0.7, 0.25, 0.5, 0.31, 0.64));
    EXPECT_FALSE(bright(1.2, 0.25, 0.5, 0.31, 0.64)) << "the pointer moves on";
    EXPECT_TRUE(bright(1.9, 0.75, 0.5, 0.81, 0.64)) << "the pointer stays until the next event";
    // The halo is a growing gold ring around the click.
    const auto halo = shown.at(33).mean(0.67, 0.36, 0.75, 0.64);
    EXPECT_GT(halo.red, halo.blue + 5);
    EXPECT_GT(halo.green, halo.blue + 5);
    EXPECT_FALSE(bright(0.9, 0.66, 0.35, 0.75, 0.65));
    EXPECT_FALSE(bright(1.6, 0.60, 0.35, 0.75, 0.65));
    EXPECT_FALSE(bright(2.4, 0.5, 0.1, 0.7, 0.2));
    EXPECT_TRUE(bright(3, 0.5, 0.1, 0.7, 0.2));
    EXPECT_FALSE(bright(3, 0.2, 0.1, 0.49, 0.2)) << "the text begins at its x position";
    EXPECT_FALSE(bright(3.6, 0.5, 0.1, 0.7, 0.2));
}

TEST_F(ExportVideo, ZoomsAroundThePoint)
{
    makePlain();
    // A white mark of 16×10 pixels at (64, 36).
    makeVideo(addTrack(TrackKind::screen, "screen.mov"),
        "color=black:size=320x180:rate=30:duration=4,drawbox=x=64:y=36:w=16:h=10:c=white:t=fill");
    auto zoom = pointer(PointerKind::zoom, 1, 0.3, 0.3);
    zoom.duration = 2;
    zoom.scale = 2;
    project.edit.events = {zoom};

    const auto shown = frames();

    // Twice as large around (96, 54): the visible area is 160×90 from (16, 9).
    const auto nearly = [](std::array<int, 4> expected, const Frame& frame) {
        const auto box = markIn(frame);
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_NEAR(box[i], expected[i], 2) << i;
    };
    nearly({64, 36, 79, 45}, shown.at(15));
    nearly({96, 54, 127, 73}, shown.at(60));
    nearly({64, 36, 79, 45}, shown.at(100));
}

TEST_F(ExportVideo, ShowsTheCameraAtItsPlaceUntilItEnds)
{
    makePlain();
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=black:size=320x180:rate=30:duration=4");
    makeVideo(addTrack(TrackKind::camera, "camera.mov", 0, 2), "color=red:size=64x36:rate=30:duration=2");
    project.edit.cameraX = 0.5;
    project.edit.cameraY = 0.5;
    project.edit.cameraWidth = 0.25;

    const auto shown = frames();
    EXPECT_GT(shown.at(30).mean(0.52, 0.54, 0.73, 0.70).red, 200);
    EXPECT_LT(shown.at(30).mean(0, 0, 0.48, 1).red, 20);
    EXPECT_LT(shown.at(30).mean(0.78, 0, 1, 1).red, 20);
    EXPECT_LT(shown.at(90).mean(0, 0, 1, 1).red, 10);

    project.edit.cameraVisible = false;
    EXPECT_LT(frames().at(30).mean(0, 0, 1, 1).red, 10);
}

TEST_F(ExportVideo, ShowsImagesAtTheirPlacesAndTimes)
{
    makePlain();
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=black:size=320x180:rate=30:duration=4");
    for (const std::string name : {"media/50 %d de 'más': x.png", "media/50 %d.gif"}) {
        SCOPED_TRACE(name);
        const auto image = store.directory(project.id) / name;
        ffmpeg(
            {"-f", "lavfi", "-i", "color=lime:size=40x40:duration=0.1", "-frames:v", "1", "-update", "1", image.string()});
        project.edit.overlays = {
            {.kind = Overlay::Kind::image, .content = name, .start = 1, .end = 2, .x = 0.5, .y = 0.25, .width = 0.25}};

        const auto shown = frames();

        EXPECT_LT(shown.at(20).mean(0, 0, 1, 1).green, 5);
        EXPECT_GT(shown.at(45).mean(0.51, 0.27, 0.74, 0.65).green, 200);
        EXPECT_LT(shown.at(45).mean(0, 0, 0.49, 1).green, 5);
        EXPECT_LT(shown.at(70).mean(0, 0, 1, 1).green, 5);
    }
}

TEST_F(ExportVideo, FitsClipsOnBlackAndHoldsTheirLastFrame)
{
    makePlain();
    project.duration = 5;
    makeVideo(addTrack(TrackKind::screen, "screen.mov", 0, 2), "color=red:size=320x180:rate=30:duration=2");
    // A portrait clip of one second in a track of three: its last frame is held.
    makeVideo(addTrack(TrackKind::clip, "clip.mov", 2, 3), "color=blue:size=90x160:rate=25:duration=1");

    const auto shown = frames();

    ASSERT_EQ(shown.size(), 150U);
    EXPECT_GT(shown.at(30).mean(0, 0, 1, 1).red, 200);
    for (const std::size_t frame : {75U, 140U}) {
        EXPECT_GT(shown.at(frame).mean(0.37, 0.05, 0.63, 0.95).blue, 200) << frame;
        EXPECT_LT(shown.at(frame).mean(0, 0, 0.3, 1).brightness(), 5) << frame;
        EXPECT_LT(shown.at(frame).mean(0.7, 0, 1, 1).brightness(), 5) << frame;
    }
}

TEST_F(ExportVideo, KeepsTheBrightnessInAnyColourRange)
{
    makePlain();
    project.duration = 1;
    const auto file = addTrack(TrackKind::screen, "screen.mov", 0, 1);
    const std::string source = "color=0xE0E0E0:size=320x180:rate=30:duration=1,drawbox=w=160:h=180:c=0x202020:t=fill";
    const struct {
        std::string filter;
        std::string range; ///< As the file declares it.
    } cases[]{
        {"null", ""},
        {"setparams=range=tv:colorspace=smpte170m", "tv"},
        {"scale=in_range=tv:out_range=pc", "pc"},
    };
    for (const auto& [filter, range] : cases) {
        SCOPED_TRACE(filter);
        makeVideo(file, source + ",format=yuv420p," + filter);
        EXPECT_EQ(probeService.facts(file).video->colorRange, range);

        const auto frame = frames().at(15);
        EXPECT_NEAR(frame.mean(0.05, 0.05, 0.45, 0.95).brightness(), 0x20, 3);
        EXPECT_NEAR(frame.mean(0.55, 0.05, 0.95, 0.95).brightness(), 0xE0, 3);
    }
}

TEST_F(ExportVideo, RendersOddAndTinyProjects)
{
    makePlain();
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "testsrc2=size=320x180:rate=30:duration=4");
    const std::array<std::int64_t, 4> sizes[] = {{1, 1, 2, 2}, {321, 181, 320, 180}, {33, 999, 32, 998}};
    for (const auto& [width, height, outWidth, outHeight] : sizes) {
        project.width = width;
        project.height = height;
        const auto file = probe(render());
        EXPECT_EQ(file.width, outWidth);
        EXPECT_EQ(file.height, outHeight);
        EXPECT_EQ(file.frames, 120);
    }
}

TEST_F(ExportVideo, SpendsFewBitsOnInvisibleNoise)
{
    const auto arguments = [](const VideoEncoder& encoder) { return encoder.arguments(1'000'000); };
    if (VideoEncoder::find(*ProcessRunner::ffmpeg(), {.size = {.width = 64, .height = 36}, .arguments = arguments})
            .noFinerThan(20)
            .empty())
        GTEST_SKIP() << "this encoder has no quantiser on the scale of H.264";
    makePlain();
    // Sensor noise over a still frame.
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "smptebars=size=320x180:rate=30:duration=4,noise=alls=3:allf=t");
    const auto original = decodeFrames(store.directory(project.id) / "media/screen.mov");

    const auto rate = [&](ExportQuality quality) {
        return static_cast<double>(std::filesystem::file_size(render({.quality = quality}))) * 8 / 4;
    };
    const double high = rate(ExportQuality::high);
    const double small = rate(ExportQuality::small);
    const double balanced = rate(ExportQuality::balanced);
    EXPECT_LT(small, balanced);
    EXPECT_LT(balanced, high);
    EXPECT_LT(balanced, 200'000) << "half of what the bit rate allows for motion";

    render();
    const auto shown = decodeFrames(folder / "out.mp4");
    ASSERT_EQ(shown.size(), original.size());
    EXPECT_LT(meanDifference(shown.at(60), original.at(60)), 2) << "levels of 256";
}

TEST(ExportHostileNames, TakesPathsAndTitlesLiterally)
{
    for (const std::string name : {"it's a:b", "back\\slash \"quoted\" [v0];,=", "-y 100%03d", "🎬 ñ\ndos", "' : \\' ;"}) {
        class Named : public ExportFixture {
        public:
            explicit Named(const std::string& library)
                : ExportFixture(library, 1)
            {
            }
            void TestBody() override
            {
                makePlain();
                project.title = "-\"'\\:🎬";
                makeVideo(addTrack(TrackKind::screen, "screen.mov"), "color=black:size=320x180:rate=30:duration=1");
                project.edit.overlays = {{.content = "ORVO", .start = 0, .end = 1, .x = 0.1, .y = 0.1}};
                const auto destination = store.root() / (store.root().filename().string() + " -v.mp4");
                ExportService::exportVideo(project, store, destination, {}, probeService);
                const auto shown = decodeFrames(destination);
                ASSERT_EQ(shown.size(), 30U);
                EXPECT_GT(shown[15].mean(0.1, 0.1, 0.3, 0.2).brightness(), 12) << "the annotations are burned in";
            }
        };
        SCOPED_TRACE(name);
        Named test(name);
        test.TestBody();
    }
}

} // namespace

} // namespace orvo::test
