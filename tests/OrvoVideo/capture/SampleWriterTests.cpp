#include "OrvoVideo/capture/tracks/SampleWriter.h"

#include "TestSupport/Media.h"
#include "TestSupport/SmallDisk.h"
#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/Waiting.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <gmock/gmock.h>
#include <gst/gst.h>
#include <numbers>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

constexpr FrameSize size{160, 90};

class SampleWriterTests : public testing::Test {
protected:
    CaptureTime at(double seconds) const { return origin + captureLength(seconds); }

    CapturedFrame frameAt(double seconds, int brightness) const
    {
        auto memory = std::make_shared<FrameMemory>(size);
        std::fill_n(memory->luma(), memory->lumaStride() * size.height, static_cast<std::uint8_t>(brightness));
        return {.memory = std::move(memory), .time = at(seconds)};
    }

    /// A tone in all channels.
    AudioBlock audio(double seconds, double length, int channels = 1) const
    {
        AudioBlock block{.channels = channels, .time = at(seconds)};
        for (int i = 0; i < static_cast<int>(length * AudioBlock::rate); ++i)
            block.samples.insert(block.samples.end(), static_cast<std::size_t>(channels),
                0.5F * static_cast<float>(std::cos(2 * std::numbers::pi * 1000 * i / AudioBlock::rate)));
        return block;
    }

    /// The brightness of a file, `rate` times per second.
    static std::vector<int> brightness(const fs::path& file, int rate)
    {
        std::vector<int> values;
        for (const auto& frame : framesAtRate(file, rate))
            values.push_back(frame.mean(0, 0, 1, 1).brightness());
        return values;
    }

    const CaptureTime origin = CaptureClock::now();
    TemporaryFolder folder;
};

TEST_F(SampleWriterTests, PlacesAudioAtItsTime)
{
    struct Case {
        int channels;
        int written;
    };
    for (const auto& [channels, written] : {Case{1, 1}, Case{2, 2}}) {
        const fs::path file = folder / "audio.m4a";
        SampleWriter writer(file, {});
        writer.append(audio(1.0, 0.5, channels), origin);
        writer.append(audio(2.5, 0.5, channels), origin);
        writer.finish(at(4));
        const auto probed = probe(file);
        EXPECT_EQ(probed.audioCodec, "aac");
        EXPECT_EQ(probed.audioChannels, written);
        EXPECT_NEAR(probed.audioDuration, 4, 0.02);
        const auto samples = decodeAudio(file);
        const auto onset = [&](double after) {
            auto i = static_cast<std::size_t>(after * 48'000);
            while (i < samples.size() && std::abs(samples[i]) < 0.1F)
                ++i;
            return static_cast<double>(i) / 48'000;
        };
        EXPECT_NEAR(onset(0), 1.0, 0.003) << "the encoder's delay is removed";
        EXPECT_NEAR(onset(2), 2.5, 0.003);
        EXPECT_LT(level(samples, 1.53, 2.47), 0.01);
    }
}

TEST_F(SampleWriterTests, ShowsLateFrames)
{
    // A still screen with one change, which arrives after the writer has advanced past it.
    SampleWriter screen(folder / "screen.mov", {.size = size});
    screen.append(frameAt(0, 40), origin);
    for (const double time : {0.1, 0.2, 0.3}) {
        screen.advance(at(time), origin);
        screen.drain();
    }
    screen.append(frameAt(0.295, 200), origin);
    screen.advance(at(2), origin);
    screen.finish(at(3));
    const auto shown = brightness(screen.url(), 20);
    ASSERT_EQ(shown.size(), 60U);
    EXPECT_LT(shown[5], 60);
    EXPECT_GT(shown[7], 180);
    EXPECT_GT(shown[40], 180);

    // A camera in the dark: few frames, which arrive late, some of them later than the writer waits.
    for (const double delay : {0.3, 1.4}) {
        SampleWriter camera(folder / "camera.mov", {.size = size});
        for (int i = 0; i < 40; ++i) {
            camera.advance(at(i * 0.1), origin);
            camera.drain();
            if (i % 2 == 0 && i * 0.1 >= delay)
                camera.append(frameAt(i * 0.1 - delay, 40 + i * 4), origin);
            camera.drain();
        }
        camera.finish(at(4));
        const auto seen = brightness(camera.url(), 10);
        ASSERT_EQ(seen.size(), 40U);
        EXPECT_THAT(seen, testing::Contains(testing::AllOf(testing::Gt(90), testing::Lt(110)))) << delay;
        EXPECT_GT(seen.back(), 190) << delay;
    }
}

TEST_F(SampleWriterTests, WritesNoFileWithoutFramesAndSilenceWithoutAudio)
{
    SampleWriter none(folder / "none.mov", {.size = size});
    EXPECT_TRUE(fs::exists(none.url()));
    none.finish(at(3));
    EXPECT_FALSE(fs::exists(none.url()));

    SampleWriter silent(folder / "silent.m4a", {.channels = 2});
    silent.advance(at(2), origin);
    silent.finish(at(3));
    EXPECT_EQ(probe(silent.url()).audioChannels, 2);
    EXPECT_NEAR(probe(silent.url()).audioDuration, 3, 0.022);
    EXPECT_LT(level(decodeAudio(silent.url()), 0, 3), 1e-4);
}

TEST_F(SampleWriterTests, DropsFramesWhenTheEncoderIsBehind)
{
    SampleWriter writer(folder / "screen.mov", {.size = FrameSize{1920, 1080}});
    const auto memory = std::make_shared<FrameMemory>(FrameSize{1920, 1080});
    for (int i = 0; i < 400; ++i)
        writer.append(CapturedFrame{.memory = memory, .time = at(i / 1000.0)}, origin);
    EXPECT_GT(writer.dropped(), 300U);
    EXPECT_LT(memory.use_count(), 40);
    writer.finish(at(1));
    EXPECT_NEAR(probe(writer.url()).videoDuration, 1, 0.01);
}

TEST_F(SampleWriterTests, ReportsTheFirstFailureOnce)
{
    EXPECT_THROW(SampleWriter(folder / "missing/screen.mov", {.size = size}), fs::filesystem_error);
    EXPECT_THROW(SampleWriter(folder / "missing/audio.m4a", {}), fs::filesystem_error);
    {
        // A missing audio encoder is reported before the recording.
        GstRegistry* registry = gst_registry_get();
        GstPluginFeature* encoder = gst_registry_lookup_feature(registry, "avenc_aac");
        ASSERT_TRUE(encoder);
        gst_registry_remove_feature(registry, encoder);
        EXPECT_THROW(SampleWriter(folder / "audio.m4a", {}), Error);
        gst_registry_add_feature(registry, encoder);
        gst_object_unref(encoder);
    }

    std::atomic<int> reports = 0;
    SampleWriter writer(folder / "audio.m4a", {.onFailure = [&](const std::exception_ptr&) { ++reports; }});
    {
        const FileSizeLimit full(60'000);
        int seconds = 0;
        EXPECT_TRUE(pollUntil([&] {
            writer.append(audio(seconds++, 1), origin);
            return reports > 0;
        }));
        EXPECT_THROW(writer.finish(at(seconds)), Error);
    }
    EXPECT_EQ(reports, 1);
    EXPECT_GT(level(decodeAudio(writer.url()), 0, 1), 0.1);
}

} // namespace

} // namespace orvo::test
