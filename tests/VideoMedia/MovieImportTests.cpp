#include "VideoMedia/MovieImport.h"

#include "TestSupport/Failure.h"
#include "TestSupport/Media.h"
#include "TestSupport/ProjectFixture.h"
#include "TestSupport/SmallDisk.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <utility>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class ImportTest : public testing::Test {
protected:
    VideoProject import(const fs::path& movie, std::optional<VideoProject> target = std::nullopt)
    {
        return MovieImport::importMovie(store, movie, std::move(target), probeService, progress, stop.get_token());
    }

    /// Makes "large.mp4" with `size` bytes.
    void makeLargeMovie(std::size_t size) const
    {
        makeVideo(folder / "large.mp4", "color=white:size=64x36:rate=30:duration=1");
        auto bytes = readFile(folder / "large.mp4");
        bytes.resize(size, 'x');
        writeFileAtomically(folder / "large.mp4", bytes);
    }

    TemporaryFolder folder;
    ProjectStore store{folder / "library"};
    FfprobeMediaProbe probeService;
    ProgressCallback progress;
    std::stop_source stop;
};

TEST_F(ImportTest, MakesPortraitProjectsOfRotatedVideos)
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

TEST_F(ImportTest, ReadsTheWholeLengthOfFragmentedMovies)
{
    ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x36:rate=30:duration=20", "-c:v", "libx264", "-preset", "ultrafast", "-g",
        "60", "-movflags", "frag_keyframe+empty_moov", (folder / "fragments.mov").string()});
    EXPECT_NEAR(import(folder / "fragments.mov").duration, 20, 0.05);
}

TEST_F(ImportTest, ShowsBlackForMoviesWithAudioOnly)
{
    makeVideo(folder / "good.mp4", "color=white:size=64x36:rate=30:duration=1");
    auto project = import(folder / "good.mp4");
    makeAudio(folder / "audio.m4a", "sine=duration=1");
    project = MovieImport::importMovie(store, folder / "audio.m4a", project, FfprobeMediaProbe());
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

TEST_F(ImportTest, RejectsUnusableFilesWithoutCopyingThem)
{
    const auto project = emptyProject();
    store.create(project);
    makeVideo(folder / "good.mp4", "color=white:size=64x36:rate=30:duration=1");
    fs::copy_file(folder / "good.mp4", folder / "good.\xE9");
    writeFileAtomically(folder / "text.mp4", "a text");
    ASSERT_EQ(::mkfifo((folder / "pipe.mp4").c_str(), 0600), 0);
    const std::pair<std::string, std::string> cases[]{
        {"good.\xE9", "El nombre «good.\xE9» no es UTF-8 válido."},
        {"text.mp4", "«text.mp4» no se puede leer"},
        {"pipe.mp4", "no es válido"},
    };
    for (const auto& [name, message] : cases)
        EXPECT_THAT(failureOf([&] { import(folder / name, project); }), HasSubstr(message));
    EXPECT_TRUE(fs::is_empty(store.directory(project.id) / "media"));

    fs::rename(folder / "good.mp4", folder / "caf\xE9.mp4");
    EXPECT_EQ(import(folder / "caf\xE9.mp4").title, "caf\uFFFD");
}

TEST_F(ImportTest, RemovesThePartialCopyWhenTheDiskIsFull)
{
    const SmallDisk disk(256 << 10);
    if (!disk)
        GTEST_SKIP() << "this process may not mount";
    const ProjectStore small(disk.path() / "library");
    const auto project = emptyProject();
    small.create(project);
    makeLargeMovie(1 << 20);
    EXPECT_THAT(failureOf([&] { MovieImport::importMovie(small, folder / "large.mp4", project, probeService); }),
        HasSubstr("no queda espacio en el disco"));
    EXPECT_TRUE(fs::is_empty(small.directory(project.id) / "media"));
    EXPECT_EQ(small.load(project.id), project);
}

TEST_F(ImportTest, RemovesThePartialCopyWhenCancelled)
{
    makeLargeMovie(20 << 20);
    progress = [&](double) { stop.request_stop(); };
    const auto project = emptyProject();
    store.create(project);
    EXPECT_THROW(import(folder / "large.mp4", project), Cancelled);
    EXPECT_TRUE(fs::is_empty(store.directory(project.id) / "media"));
}

} // namespace

} // namespace orvo::test
