#include "OrvoVideo/capture/CaptureOptions.h"
#include "OrvoVideo/capture/screen/FrameFitter.h"
#include "OrvoVideo/capture/tracks/AudioTimeline.h"
#include "OrvoVideo/capture/tracks/FrameTimeline.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <numbers>
#include <random>

namespace orvo::test {

namespace {

constexpr double rate = AudioBlock::rate;

/// A device whose clock drifts and whose times have errors. The phase of a slow sine shows the true time of every sample.
struct Device {
    double faster = 0; ///< 0.0001 is a hundred parts in a million.
    double error = 0; ///< Seconds, at most.
    double late = 0; ///< Seconds by which every time is measured too late.
};

constexpr double waveLength = 4; ///< Seconds.

float sampleAt(double time)
{
    return static_cast<float>(std::sin(2 * std::numbers::pi * time / waveLength));
}

struct Laid {
    std::vector<float> samples;

    AudioTimeline::Sink sink()
    {
        return [this](std::span<const float> more) { samples.insert(samples.end(), more.begin(), more.end()); };
    }

    /// Seconds by which the audio at this time is displaced. The wave must be rising or falling there.
    double displacement(double time) const
    {
        const double slope = 2 * std::numbers::pi / waveLength * std::cos(2 * std::numbers::pi * time / waveLength);
        return (static_cast<double>(samples.at(static_cast<std::size_t>(time * rate))) - static_cast<double>(sampleAt(time)))
            / slope;
    }
};

/// Blocks of 20 ms as the device delivers them, between two times.
void play(AudioTimeline& timeline, const Device& device, double from, double to)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> error(-device.error, device.error);
    const double step = 1 / (rate * (1 + device.faster));
    double time = from;
    while (time < to) {
        AudioBlock block;
        const double start = time;
        for (int i = 0; i < AudioBlock::rate / 50; ++i, time += step)
            block.samples.push_back(sampleAt(time));
        timeline.add(block, start + device.late + error(random));
    }
}

TEST(AudioTimelineTests, FollowsTheRecordingWhenTheDeviceClockDrifts)
{
    for (const auto& device : {Device{.faster = 0, .error = 0.008}, Device{.faster = 0.0003, .error = 0.008},
             Device{.faster = -0.0003, .error = 0.008}}) {
        Laid laid;
        AudioTimeline timeline(1, laid.sink());
        play(timeline, device, 0, 600);
        double largest = 0;
        for (double time = 4; time < 599; time += waveLength)
            largest = std::max(largest, std::abs(laid.displacement(time)));
        EXPECT_LT(largest, 0.012) << device.faster;
        EXPECT_NEAR(static_cast<double>(timeline.length()) / rate, 600, 0.05);
    }
}

TEST(AudioTimelineTests, FillsGapsWithSilence)
{
    Laid laid;
    AudioTimeline timeline(1, laid.sink());
    play(timeline, {}, 1.5, 4); // A device that appears late,
    timeline.fillUntil(5); // falls silent,
    play(timeline, {}, 9, 12); // and returns.
    timeline.fillUntil(13);
    ASSERT_EQ(laid.samples.size(), static_cast<std::size_t>(13 * rate));
    const auto isSilent = [&](double from, double to) {
        return std::all_of(laid.samples.begin() + static_cast<std::ptrdiff_t>(from * rate),
            laid.samples.begin() + static_cast<std::ptrdiff_t>(to * rate), [](float sample) { return sample == 0; });
    };
    EXPECT_TRUE(isSilent(0, 1.499));
    EXPECT_NEAR(laid.displacement(2), 0, 0.001);
    EXPECT_NEAR(laid.displacement(3.9), 0, 0.001);
    EXPECT_TRUE(isSilent(4.03, 8.999));
    EXPECT_NEAR(laid.displacement(10), 0, 0.001);
    EXPECT_TRUE(isSilent(12.03, 13));
}

/// A restarted server loses some more audio, or reports a delay that is wrong by some hundredths of a second.
TEST(AudioTimelineTests, CorrectsSmallErrorsAtOnceAfterAReconnection)
{
    for (const double error : {0.05, 0.0, -0.05}) {
        for (const double hole : {0.0, 0.045, 0.07}) {
            Laid laid;
            AudioTimeline timeline(1, laid.sink());
            play(timeline, {.error = 0.003}, 0, 2);
            play(timeline, {.error = 0.003, .late = error}, 4.5, 5);
            play(timeline, {.error = 0.003}, 5.0 + hole, 12);
            for (const double time : {5.5, 6.0, 8.0, 10.0})
                EXPECT_NEAR(laid.displacement(time), 0, 0.012) << time << " " << error << " " << hole;
        }
    }
}

TEST(AudioTimelineTests, DropsLateAndOverlappingBlocks)
{
    Laid laid;
    AudioTimeline timeline(1, laid.sink());
    play(timeline, {}, -0.5, 2); // Some of it before the beginning,
    play(timeline, {}, 0.5, 3); // a second and a half twice,
    timeline.fillUntil(6);
    play(timeline, {}, 4, 8); // and two seconds already filled with silence.
    for (const double time : {0.1, 2.0, 2.6, 6.2, 7.8})
        EXPECT_NEAR(laid.displacement(time), 0, 0.001) << time;
    EXPECT_NEAR(static_cast<double>(timeline.length()) / rate, 8, 0.03);
}

TEST(AudioTimelineTests, ConvertsBetweenMonoAndStereo)
{
    Laid stereo;
    AudioTimeline two(2, stereo.sink());
    two.add({.samples = {0.25F, 0.5F}, .channels = 1}, 0);
    EXPECT_THAT(stereo.samples, testing::ElementsAre(0.25F, 0.25F, 0.5F, 0.5F));
    Laid mono;
    AudioTimeline one(1, mono.sink());
    one.add({.samples = {0.25F, 0.75F, -1, 0}, .channels = 2}, 0);
    EXPECT_THAT(mono.samples, testing::ElementsAre(0.5F, -0.5F));
}

TEST(FrameTimelineTests, ShowsTheLastOfFramesWithEqualTimes)
{
    std::vector<std::pair<const FrameMemory*, double>> shown;
    FrameTimeline timeline(
        [&](const FrameTimeline::Placed& placed) { shown.emplace_back(placed.frame.get(), placed.start); });
    const auto before = std::make_shared<FrameMemory>(FrameSize{2, 2});
    const auto menu = std::make_shared<FrameMemory>(FrameSize{2, 2});
    const auto after = std::make_shared<FrameMemory>(FrameSize{2, 2});
    timeline.add(before, 0);
    timeline.add(menu, 2); // At the resume.
    timeline.add(after, 2); // In transit at the resume.
    timeline.end(5);
    EXPECT_THAT(shown, testing::ElementsAre(std::pair(before.get(), 0.0), std::pair(after.get(), 2.0)));
}

TEST(FrameTimelineTests, ShowsEachFrameUntilTheNext)
{
    struct Shown {
        const FrameMemory* frame;
        double start;
        double end;
    };
    std::vector<Shown> shown;
    FrameTimeline timeline([&](const FrameTimeline::Placed& placed) {
        shown.push_back({placed.frame.get(), placed.start, placed.start + placed.length});
    });
    const auto a = std::make_shared<FrameMemory>(FrameSize{2, 2});
    const auto b = std::make_shared<FrameMemory>(FrameSize{2, 2});
    timeline.standUntil(1); // Ignored: there is no frame yet.
    timeline.add(a, 0.5); // The first frame is shown from time 0.
    timeline.standUntil(2);
    timeline.add(b, 1.9); // Its time has passed: it follows directly.
    timeline.add(a, 1.8); // Earlier than the previous one: dropped.
    timeline.add(b, 2.5);
    timeline.end(4);
    ASSERT_EQ(shown.size(), 5U);
    double end = 0;
    for (const auto& each : shown) {
        EXPECT_NEAR(each.start, end, 1e-9);
        EXPECT_EQ(each.frame, each.start < 2.0005 ? a.get() : b.get());
        end = each.end;
    }
    EXPECT_NEAR(shown.back().start, 2.5, 1e-9);
    EXPECT_NEAR(end, 4, 1e-9);
}

TEST(CaptureSizeTests, LimitsTheHeightAndRoundsToEven)
{
    struct Case {
        Rect area;
        double scale;
        std::int64_t height;
        FrameSize size;
    };
    for (const auto& each : {
             Case{{0, 0, 1280, 720}, 2, 1080, {1920, 1080}}, Case{{0, 0, 1280, 720}, 1, 1080, {1280, 720}},
             Case{{0, 0, 1365, 767}, 1, 1080, {1364, 766}}, Case{{10, 10, 1, 1}, 1, 1080, {2, 2}},
             Case{{0, 0, 0, 0}, 1, 1080, {2, 2}}, Case{{0, 0, 3840, 1080}, 1, 720, {2560, 720}},
             Case{{0, 0, 1097, 1080 / (1920 / 1097.0)}, 1920 / 1097.0, 1080, {1920, 1080}}, // Contents at 175 %.
         })
        EXPECT_EQ(captureSize(each.area, each.scale, each.height), each.size) << each.area.width;
}

TEST(FramePlaceTests, FillsTheRecordingOrLeavesBlack)
{
    struct Case {
        FrameSize source;
        FrameSize target;
        FramePlace place;
    };
    for (const auto& each : {
             Case{{640, 360}, {640, 360}, {0, 0, {640, 360}}},
             Case{{641, 361}, {640, 360}, {0, 0, {640, 360}}}, // The recording size of such a source.
             Case{{2560, 1440}, {1920, 1080}, {0, 0, {1920, 1080}}},
             Case{{1366, 769}, {1364, 768}, {0, 0, {1364, 768}}},
             Case{{320, 180}, {640, 360}, {160, 90, {320, 180}}}, // A window made smaller is not enlarged.
             Case{{1280, 360}, {640, 360}, {0, 90, {640, 180}}},
             Case{{360, 720}, {640, 360}, {230, 0, {180, 360}}},
         })
        EXPECT_EQ(FramePlace::fitted(each.source, each.target), each.place)
            << each.source.width << "x" << each.source.height;
}

} // namespace

} // namespace orvo::test
