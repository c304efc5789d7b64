#include "EditorFixture.h"
#include "OrvoVideo/editor/MediaStrips.h"

#include <fstream>

namespace orvo::test {

namespace {

class MediaStripsTests : public EditorFixture {
protected:
    std::vector<MediaStrips::Source> sourcesOf(const VideoProject& shown) const
    {
        return {{.file = store.mediaURL(shown, shown.tracks[0].file), .duration = 6, .frames = true, .audio = true},
            {.file = store.mediaURL(shown, shown.tracks[1].file), .duration = 6, .frames = false, .audio = true}};
    }
};

TEST_F(MediaStripsTests, ShowsAudioInWaveformsAndCachesThem)
{
    const auto shown = lesson();
    const auto sources = sourcesOf(shown);
    {
        MediaStrips strips;
        strips.setSources(sources);
        EXPECT_TRUE(strips.preparing());
        ASSERT_TRUE(waitUntil([&] { return !strips.preparing(); }));
        const auto* peaks = strips.peaks(sources[1].file);
        ASSERT_TRUE(peaks);
        EXPECT_NEAR(peaks->duration(), 6, 0.1);
        EXPECT_LT(peaks->between(0.5, 1).high, 0.02);
        EXPECT_LT(peaks->between(2.3, 2.8).high, 0.02);
        EXPECT_GT(peaks->between(3.2, 3.7).high, 0.1);
        EXPECT_FALSE(strips.peaks(sources[0].file)) << "a movie without audio has no waveform";
    }
    // The cache provides the waveform even if the file is no longer readable.
    const auto time = std::filesystem::last_write_time(sources[1].file);
    const auto size = std::filesystem::file_size(sources[1].file);
    std::ofstream(sources[1].file, std::ios::trunc) << std::string(size, '-');
    std::filesystem::last_write_time(sources[1].file, time);
    MediaStrips again;
    again.setSources({sources[1]});
    ASSERT_TRUE(waitUntil([&] { return !again.preparing(); }));
    ASSERT_TRUE(again.peaks(sources[1].file));
    EXPECT_GT(again.peaks(sources[1].file)->between(3.1, 5.5).high, 0.1);
}

TEST_F(MediaStripsTests, ReadsFramesAndSkipsUnreadableFiles)
{
    const auto shown = lesson();
    const auto file = store.mediaURL(shown, shown.tracks[0].file);
    MediaStrips strips;
    const MediaStrips::FrameKey missing{store.root() / "none.mov", 0};
    const MediaStrips::FrameKey first{file, 0};
    const MediaStrips::FrameKey later{file, 4000};
    strips.want({missing, first, later});
    ASSERT_TRUE(waitUntil([&] { return !strips.frame(later).isNull(); }));
    EXPECT_TRUE(strips.frame(missing).isNull());
    ASSERT_EQ(strips.frame(first).height(), MediaStrips::frameHeight);
    EXPECT_NE(strips.frame(first), strips.frame(later));
}

TEST_F(MediaStripsTests, CancelsAndResumesPreparing)
{
    const auto sources = sourcesOf(lesson());
    MediaStrips strips;
    strips.setSources(sources);
    strips.cancel();
    EXPECT_FALSE(strips.preparing());
    EXPECT_TRUE(strips.cancelled());
    EXPECT_FALSE(strips.peaks(sources[1].file));
    strips.resume();
    EXPECT_FALSE(strips.cancelled());
    ASSERT_TRUE(waitUntil([&] { return strips.peaks(sources[1].file) != nullptr; }));
}

TEST_F(MediaStripsTests, RemovesWorkFoldersThatACrashLeft)
{
    namespace fs = std::filesystem;
    const fs::path cache = fs::path(qEnvironmentVariable("XDG_CACHE_HOME").toStdString()) / "OrvoVideo/timeline";
    const fs::path left = cache / "reading-aaaaaa";
    const fs::path used = cache / "reading-bbbbbb"; // Another program may be reading in it.
    for (const auto& each : {left, used}) {
        fs::create_directories(each);
        std::ofstream(each / "audio.s16") << "samples";
    }
    fs::last_write_time(left, fs::file_time_type::clock::now() - std::chrono::hours(25));
    const auto source = sourcesOf(lesson())[1];
    MediaStrips strips;
    strips.setSources({source});
    ASSERT_TRUE(waitUntil([&] { return strips.peaks(source.file) != nullptr; }));
    EXPECT_FALSE(fs::exists(left));
    EXPECT_TRUE(fs::exists(used / "audio.s16"));
}

} // namespace

} // namespace orvo::test
