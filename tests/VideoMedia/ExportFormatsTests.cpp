#include "ExportFixture.h"
#include "VideoMedia/ExportPresets.h"

#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class ExportFormats : public ExportFixture {
protected:
    ExportFormats()
        : ExportFixture("library", 4)
    {
        makeVideo(addTrack(TrackKind::screen, "screen.mov"), "testsrc2=size=640x360:rate=30:duration=4");
        makeAudio(addTrack(TrackKind::microphone, "microphone.m4a"), "sine=frequency=300:duration=4,volume=0.2");
        project.width = 640;
        project.height = 360;
        project.edit.cuts = {{2, 3}};
        project.edit.words = {word("hola", 0.5, 1)};
        store.save(project);
    }

    fs::path renderTo(const std::string& name, const ExportSettings& settings)
    {
        const auto destination = folder / name;
        ExportService::exportVideo(project, store, destination, settings, probeService);
        return destination;
    }
};

TEST_F(ExportFormats, WritesEveryFormatWithTheCuts)
{
    const auto webm = probe(renderTo("out.webm", {.fps = 15, .format = ExportFormat::webm}));
    EXPECT_EQ(webm.videoCodec, "vp9");
    EXPECT_EQ(webm.audioCodec, "opus");
    EXPECT_NEAR(webm.frames, 45, 2);
    EXPECT_TRUE(fs::exists(folder / "out.srt"));

    project.edit.words = {};
    const auto audio = renderTo("out.m4a", {.format = ExportFormat::audio});
    EXPECT_NEAR(probe(audio).audioDuration, 3, 0.05);
    EXPECT_EQ(probe(audio).videoCodec, "");
    EXPECT_GT(level(decodeAudio(audio), 0.5, 2.5), 0.01);

    const auto gif = probe(renderTo("only.gif", {.height = 90, .fps = 10, .format = ExportFormat::gif}));
    EXPECT_EQ(gif.videoCodec, "gif");
    EXPECT_EQ(gif.height, 90);
    EXPECT_NEAR(gif.frames, 30, 2);
    EXPECT_FALSE(fs::exists(folder / "only.srt"));

    EXPECT_THAT(failureOf([&] { renderTo("wrong.mp4", {.format = ExportFormat::webm}); }), HasSubstr("«.webm»"));
}

TEST_F(ExportFormats, ExportsOneStretch)
{
    const auto out = probe(renderTo("part.mp4", {.height = 90, .span = TimeSpan{3.5, 1}}));
    EXPECT_NEAR(out.videoDuration, 1.5, 0.05) << "from 1 to 3.5 minus the cut";
    EXPECT_THAT(failureOf([&] { renderTo("none.mp4", {.span = TimeSpan{2.2, 2.8}}); }), HasSubstr("no contiene vídeo"));
}

TEST_F(ExportFormats, StaysWithinAMaximumFileSize)
{
    // Noise uses every bit that the encoder allows.
    makeVideo(folder / "library" / project.id.text() / "media/screen.mov",
        "nullsrc=size=320x180:rate=30:duration=4,geq=random(1)*255:128:128");
    constexpr std::int64_t limit = 150'000;
    const auto out = renderTo("small.mp4", {.maxBytes = limit});
    EXPECT_LE(fs::file_size(out), limit);
    EXPECT_GT(fs::file_size(out), limit / 3) << "uses the limit";
    EXPECT_NEAR(probe(out).videoDuration, 3, 0.1);
    EXPECT_THAT(failureOf([&] { renderTo("none.mp4", {.maxBytes = 10'000}); }), HasSubstr("no caben en 0 MB"));
}

TEST(ExportPresets, NamesFilesForEveryFileSystem)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Clase 3", "Clase 3"},
        {R"(a/b\c:d*e?f"g<h>i|j)", "a-b-c-d-e-f-g-h-i-j"},
        {"línea\nnueva", "línea-nueva"},
        {"  fin... ", "fin"},
        {"con", "_con"},
        {"Lpt1.apuntes", "_Lpt1.apuntes"},
        {"contexto", "contexto"},
        {"...", "Vídeo"},
        {"", "Vídeo"},
    };
    for (const auto& [title, name] : cases)
        EXPECT_EQ(portableFileName(title), name);
    std::string accents;
    for (int i = 0; i < 100; ++i)
        accents += "ñ";
    EXPECT_EQ(portableFileName("x" + accents).size(), 119U) << "cut between characters";
}

TEST(ExportPresets, EstimatesFromEarlierExports)
{
    auto project = emptyProject(60);
    project.width = 1920;
    project.height = 1080;
    const ExportSettings settings;
    const auto before = ExportEstimate::of(project, settings, {});
    EXPECT_EQ(before.duration, 60);
    ExportPace pace;
    pace.add(project, settings, 30, 6'000'000);
    const auto after = ExportEstimate::of(project, settings, ExportPace::parse(pace.text()));
    EXPECT_NEAR(after.seconds, 30, 0.1);
    EXPECT_NEAR(after.bytes, 6e6, 1e4);
    const auto half = ExportEstimate::of(project, {.span = TimeSpan{0, 30}}, pace);
    EXPECT_NEAR(half.seconds, 15, 0.1);
    EXPECT_NEAR(half.bytes, 3e6, 1e4);
    const auto limited = ExportPreset::find("correo")->settings(project, settings);
    EXPECT_LE(ExportEstimate::of(project, limited, {}).bytes, 20e6);
    for (const auto* text : {"", "x", "-1 2", "1", "nan 1"})
        EXPECT_EQ(ExportPace::parse(text).secondsPerMegapixel, 0) << text;
}

} // namespace

} // namespace orvo::test
