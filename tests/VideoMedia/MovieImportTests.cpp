#include "VideoMedia/MovieImport.h"

#include "TestSupport/Failure.h"
#include "TestSupport/Media.h"
#include "TestSupport/ProjectFixture.h"
#include "TestSupport/SmallDisk.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::MatchesRegex;

class ImportTest : public testing::Test {
protected:
    VideoProject import(const fs::path& movie, std::optional<VideoProject> target = std::nullopt)
    {
        return MovieImport::importMovie(store, movie, std::move(target), probeService, progress, stop.get_token());
    }

    TemporaryFolder folder;
    ProjectStore store{folder / "library"};
    FfprobeMediaProbe probeService;
    ProgressCallback progress;
    std::stop_source stop;
};

TEST_F(ImportTest, AMovieBecomesAProjectAndTheNextOnesItsClips)
{
    const auto first = folder / "Clase 3, \"años\".tema.MOV";
    makeVideo(first, "testsrc2=size=320x180:rate=30:duration=2");
    makeVideo(folder / "clip.mp4", "testsrc2=size=64x64:rate=25:duration=1");
    std::vector<double> values;
    progress = [&](double value) { values.push_back(value); };

    const auto project = import(first);

    EXPECT_EQ(project.title, "Clase 3, \"años\".tema");
    EXPECT_EQ(project.width, 320);
    EXPECT_EQ(project.height, 180);
    EXPECT_EQ(project.fps, 30);
    EXPECT_EQ(project.state, "ready");
    ASSERT_EQ(project.tracks.size(), 1U);
    EXPECT_EQ(project.tracks[0].kind, TrackKind::screen);
    EXPECT_EQ(project.tracks[0].start, 0);
    EXPECT_NEAR(project.duration, 2, 0.01);
    EXPECT_EQ(project.tracks[0].duration, project.duration);
    EXPECT_THAT(project.tracks[0].file, MatchesRegex("media/[0-9A-F-]{36}\\.MOV"));
    EXPECT_EQ(readFile(store.mediaURL(project, project.tracks[0].file)), readFile(first));
    EXPECT_EQ(store.load(project.id).tracks, project.tracks);
    EXPECT_EQ(values.back(), 1);

    const auto longer = import(folder / "clip.mp4", project);
    EXPECT_EQ(longer.id, project.id);
    ASSERT_EQ(longer.tracks.size(), 2U);
    EXPECT_EQ(longer.tracks[1].kind, TrackKind::clip);
    EXPECT_EQ(longer.tracks[1].start, project.duration);
    EXPECT_NEAR(longer.duration, 3, 0.02);
    EXPECT_EQ(longer.width, 320) << "the size stays";
}

TEST_F(ImportTest, TurnedPhoneVideosArePortraitProjects)
{
    makeVideo(folder / "flat.mp4", "testsrc2=size=320x180:rate=30:duration=1");
    ffmpeg(
        {"-display_rotation", "90", "-i", (folder / "flat.mp4").string(), "-c", "copy", (folder / "turned.mp4").string()});
    const auto facts = probeService.facts(folder / "turned.mp4");
    EXPECT_EQ(facts.video->rotation, 270) << "a quarter counter-clockwise";
    const auto project = import(folder / "turned.mp4");
    EXPECT_EQ(project.width, 180);
    EXPECT_EQ(project.height, 320);
}

TEST_F(ImportTest, FragmentedRecordingsHaveTheirWholeLength)
{
    ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x36:rate=30:duration=20", "-c:v", "libx264", "-preset", "ultrafast", "-g",
        "60", "-movflags", "frag_keyframe+empty_moov", (folder / "fragments.mov").string()});
    EXPECT_NEAR(import(folder / "fragments.mov").duration, 20, 0.05);
}

TEST_F(ImportTest, AMovieWithSoundOnlyIsHeardOverBlackBehindTheOthers)
{
    makeVideo(folder / "good.mp4", "color=white:size=64x36:rate=30:duration=1");
    auto project = import(folder / "good.mp4");
    makeSound(folder / "sound.m4a", "sine=duration=1");
    project = MovieImport::importMovie(store, folder / "sound.m4a", project, FfprobeMediaProbe());
    ASSERT_EQ(project.tracks.size(), 2U);
    EXPECT_EQ(project.tracks[1].kind, TrackKind::clip);
    EXPECT_EQ(project.width, 64);
    project = MovieImport::importMovie(store, folder / "good.mp4", project, FfprobeMediaProbe());
    project.edit.fade = 0;
    ExportService::exportVideo(project, store, folder / "out.mp4", {}, FfprobeMediaProbe());
    const auto frames = decodeFrames(folder / "out.mp4");
    ASSERT_EQ(frames.size(), 90U);
    const auto brightness = [&](std::size_t frame) { return frames[frame].mean(0.2, 0.2, 0.8, 0.8).brightness(); };
    EXPECT_GT(brightness(15), 200);
    EXPECT_LT(brightness(45), 40);
    EXPECT_GT(brightness(75), 200);
}

TEST_F(ImportTest, WhatIsNoMovieIsRefusedAndChangesNothing)
{
    makeVideo(folder / "good.mp4", "testsrc2=size=64x36:rate=30:duration=1");
    auto project = import(folder / "good.mp4");
    writeFileAtomically(folder / "text.mp4", "esto no es un vídeo");
    writeFileAtomically(folder / "empty.mp4", "");
    writeFileAtomically(
        folder / "list.mp4", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + (folder / "good.mp4").string() + "\n");
    makeSound(folder / "sound.m4a", "sine=duration=1");
    ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x36:rate=30:duration=1", "-c:v", "libx264", "-f", "h264",
        (folder / "raw.h264").string()});
    const std::pair<std::string, std::string> cases[] = {
        {"text.mp4", "no se puede leer"},
        {"empty.mp4", "no se puede leer"},
        {"list.mp4", "no se puede leer"},
        {"raw.h264", "El archivo no contiene una duración válida."},
        {"missing.mp4", "no existe"},
        {".", "es una carpeta"},
    };
    for (const auto& [name, text] : cases)
        EXPECT_THAT(failureOf([&] { import(folder / name, project); }), HasSubstr(text)) << name;
    EXPECT_EQ(store.load(project.id).tracks, project.tracks);

    // What was to become a new project says why it did not.
    const auto target = VideoProject::make("text");
    EXPECT_NE(failureOf([&] { import(folder / "text.mp4", target); }), "");
    EXPECT_EQ(store.load(target.id).state, ProjectState::importFailed);
    EXPECT_THAT(MovieImport::failure(store, target.id), HasSubstr("no se puede leer"));
}

TEST_F(ImportTest, AFullDiskLeavesNoHalfCopy)
{
    const SmallDisk disk(256 << 10);
    if (!disk)
        GTEST_SKIP() << "no right to mount";
    const ProjectStore small(disk.path() / "library");
    const auto project = emptyProject();
    small.create(project);
    writeFileAtomically(folder / "large.mp4", std::string(1 << 20, 'x'));
    EXPECT_THAT(failureOf([&] { MovieImport::importMovie(small, folder / "large.mp4", project, probeService); }),
        HasSubstr("no queda espacio en el disco"));
    EXPECT_TRUE(fs::is_empty(small.directory(project.id) / "media"));
    EXPECT_EQ(small.load(project.id), project);
}

TEST_F(ImportTest, CancelledWhileCopying)
{
    writeFileAtomically(folder / "large.mp4", std::string(20 << 20, 'x'));
    progress = [&](double) { stop.request_stop(); };
    const auto project = emptyProject();
    store.create(project);
    EXPECT_THROW(import(folder / "large.mp4", project), Cancelled);
    EXPECT_TRUE(fs::is_empty(store.directory(project.id) / "media"));
}

} // namespace

} // namespace orvo::test
