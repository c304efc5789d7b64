#include "OrvoVideo/publishing/PublicationPackage.h"
#include "TestSupport/Media.h"
#include "TestSupport/ProjectFixture.h"
#include "VideoCore/Error.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

class PublicationPackageTests : public ProjectFixture {
protected:
    PublicationPackageTests()
        : ProjectFixture("library", 1)
    {
        project.width = 128;
        project.height = 72;
        project.fps = 10;
        makeVideo(addTrack(TrackKind::screen, "screen.mov"), "testsrc2=size=128x72:rate=10:duration=1");
        store.save(project);
    }

    PublicationPackage package(ExportQuality quality) const { return {project, store, {.quality = quality}}; }

    bool isReady(const VideoProject& edited, ExportSettings settings) const
    {
        settings.quality = ExportQuality::small;
        return PublicationPackage(edited, store, settings).isReady();
    }
};

TEST_F(PublicationPackageTests, IsReadyOnlyForTheSameProjectAndSettings)
{
    {
        auto small = package(ExportQuality::small);
        small.render(FfprobeMediaProbe(), {}, {});
        small.package({}, {});
        EXPECT_TRUE(small.isReady());
        EXPECT_THROW(package(ExportQuality::small), Error) << "locked by the other package";
    }
    auto edited = project;
    edited.title = "Otro";
    EXPECT_FALSE(isReady(edited, {}));
    EXPECT_FALSE(isReady(project, {.height = 720}));
    EXPECT_TRUE(isReady(project, {.fps = 60})) << "the frame rate is the project's";
    {
        auto high = package(ExportQuality::high);
        EXPECT_FALSE(high.isReady());
        high.render(FfprobeMediaProbe(), {}, {});
        // Only the last step fails.
        fs::create_directories(high.hls() / "poster.jpg");
        EXPECT_THROW(high.package({}, {}), Error);
        ASSERT_TRUE(fs::exists(high.hls() / "master.m3u8"));
        EXPECT_FALSE(high.isReady());
    }
    EXPECT_FALSE(isReady(project, {})) << "replaced by the other quality";
    {
        auto incomplete = package(ExportQuality::small);
        incomplete.render(FfprobeMediaProbe(), {}, {});
        incomplete.package({}, {});
        fs::remove(incomplete.hls() / "master.m3u8");
        EXPECT_FALSE(incomplete.isReady());
    }
}

TEST_F(PublicationPackageTests, EncodesTheSmallerStepsWithTheMovie)
{
    const TemporaryFolder caches;
    ::setenv("XDG_CACHE_HOME", (caches / "home").c_str(), 1);
    project.width = 1280;
    project.height = 720;
    project.duration = 32;
    makeVideo(addTrack(TrackKind::screen, "screen.mov"), "testsrc2=size=320x180:rate=10:duration=32");
    project.tracks.edit().erase(project.tracks.begin());
    store.save(project);
    const auto folderOfPackage = store.directory(project.id) / "publication";
    auto package = this->package(ExportQuality::small);
    package.render(FfprobeMediaProbe(), {}, {});
    EXPECT_TRUE(fs::exists(folderOfPackage / "video-480.mp4"));
    package.package({}, {});
    EXPECT_TRUE(package.isReady());
    EXPECT_TRUE(fs::exists(folderOfPackage / "hls/480/index.m3u8"));
    EXPECT_THAT(namesIn(folderOfPackage), testing::UnorderedElementsAre("hls", "signature.txt", "video.mp4", "video.srt"));
    ::unsetenv("XDG_CACHE_HOME");
}

} // namespace

} // namespace orvo::test
