#include "OrvoVideo/capture/tracks/TrackFile.h"
#include "TestSupport/Media.h"
#include "TestSupport/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace orvo::test {

namespace {

/// x264 as a stand-in for a hardware encoder that rejects frames wider than `width`.
FrameEncoder limitedTo(int width)
{
    return {.name = "x264enc",
        .options = "tune=zerolatency ! video/x-h264,width=(int)[1," + std::to_string(width) + "] ! identity",
        .bitRateOption = "datarate",
        .keyFrameOption = "error-after"};
}

TEST(FrameEncoderTests, PicksTheFirstThatTakesTheFrameSize)
{
    const FrameEncoder absent{
        .name = "nosuchenc", .options = "", .bitRateOption = "bitrate", .keyFrameOption = "key-int-max"};
    const std::array candidates{absent, limitedTo(400), limitedTo(800)};
    struct Case {
        FrameSize size;
        std::string wanted; ///< Part of the options of the chosen encoder; empty for none.
    };
    for (const auto& [size, wanted] : {Case{{320, 192}, "400"}, Case{{640, 360}, "800"}, Case{{1024, 360}, ""}}) {
        const auto found = FrameEncoder::firstThatWorks(candidates, size, 30);
        ASSERT_EQ(found.has_value(), !wanted.empty()) << size.width;
        if (found) {
            EXPECT_NE(found->options.find(wanted), std::string::npos) << size.width;
        }
    }
}

TEST(FrameEncoderTests, ContinuesTheFileInSoftwareWhenAnEncoderFails)
{
    // x264 behind a failing element stands in for a hardware encoder. The key frame distance is 60.
    struct Case {
        const char* what;
        std::string options;
        std::string option;
    };
    constexpr int count = 150;
    constexpr FrameSize size{160, 90};
    const auto lumaOf = [](int frame) { return 30 + frame * 7 % 190; };
    for (const auto& [what, options, option] : {
             Case{"fails after 60 frames", "identity", "error-after"},
             Case{"takes frames and returns none", "identity drop-probability=1", "sleep-time"},
             Case{"hangs", "identity sync=true ts-offset=1000000000000", "sleep-time"},
         }) {
        const FrameEncoder failing{.name = "x264enc",
            .options = "tune=zerolatency speed-preset=ultrafast ! " + options,
            .bitRateOption = "datarate",
            .keyFrameOption = option,
            .kind = FrameEncoder::Kind::hardware};
        const TemporaryFolder folder;
        const auto path = folder / "screen.mov";
        TrackFile file(path, TrackFile::Frames{.size = size, .fps = 30, .encoder = failing});
        for (int i = 0; i < count; ++i) {
            const auto frame = std::make_shared<FrameMemory>(size);
            std::fill_n(frame->luma(), frame->lumaStride() * size.height, static_cast<std::uint8_t>(lumaOf(i)));
            file.write(frame, i / 30.0, 1 / 30.0);
        }
        file.finish();
        EXPECT_NEAR(probe(path).videoDuration, count / 30.0, 0.01) << what;
        const auto frames = decodeFrames(path);
        ASSERT_EQ(frames.size(), static_cast<std::size_t>(count)) << what;
        for (int i = 0; i < count; ++i) {
            EXPECT_NEAR(frames[static_cast<std::size_t>(i)].mean(0, 0, 1, 1).brightness(), (lumaOf(i) - 16) * 255 / 219, 6)
                << what << ", frame " << i;
        }
    }
}

TEST(FrameEncoderTests, SwitchesToTheFastestPresetWhenSoftwareIsTooSlow)
{
    // Frames arrive as fast as the encoder takes them, so that they always wait.
    constexpr FrameSize size{320, 180};
    const FrameEncoder slow{.name = "x264enc",
        .options = "tune=zerolatency speed-preset=veryslow",
        .bitRateOption = "bitrate",
        .keyFrameOption = "key-int-max"};
    const TemporaryFolder folder;
    const auto path = folder / "screen.mov";
    TrackFile file(path, TrackFile::Frames{.size = size, .fps = 30, .encoder = slow});
    std::mt19937 random(3);
    std::vector<std::shared_ptr<FrameMemory>> frames;
    for (int i = 0; i < 8; ++i) {
        frames.push_back(std::make_shared<FrameMemory>(size));
        std::generate_n(frames.back()->luma(), frames.back()->lumaStride() * size.height,
            [&] { return static_cast<std::uint8_t>(random()); });
    }
    // x264 writes its settings into the stream.
    const auto hasSetting = [&](const char* setting) {
        std::ifstream stream(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {}).contains(setting);
    };
    int count = 0;
    const auto limit = CaptureClock::now() + std::chrono::seconds(60);
    while (CaptureClock::now() < limit && (count % 30 != 0 || !hasSetting("subme=0"))) {
        file.write(frames[static_cast<std::size_t>(count) % frames.size()], count / 30.0, 1 / 30.0);
        ++count;
    }
    file.finish();
    EXPECT_TRUE(hasSetting("subme=10"));
    EXPECT_TRUE(hasSetting("subme=0"));
    EXPECT_NEAR(probe(path).videoDuration, count / 30.0, 0.01);
    EXPECT_EQ(decodeFrames(path).size(), static_cast<std::size_t>(count));
}

TEST(FrameEncoderTests, PicksAFasterPresetForMorePixelsPerCore)
{
    struct Case {
        FrameSize size;
        int fps;
        int cores;
        std::string preset;
    };
    for (const auto& [size, fps, cores, preset] : {
             Case{{1920, 1080}, 30, 2, "veryfast"},
             Case{{1920, 1080}, 60, 4, "veryfast"},
             Case{{1920, 1080}, 60, 3, "superfast"},
             Case{{1920, 1080}, 60, 2, "ultrafast"},
             Case{{1920, 1080}, 60, 1, "ultrafast"},
             Case{{3840, 2160}, 60, 8, "ultrafast"},
         }) {
        const auto encoder = FrameEncoder::software(size, fps, cores);
        EXPECT_NE(encoder.options.find(preset), std::string::npos) << encoder.options;
        EXPECT_TRUE(FrameEncoder::firstThatWorks(std::array{encoder}, {320, 180}, fps)) << encoder.options;
    }
}

} // namespace

} // namespace orvo::test
