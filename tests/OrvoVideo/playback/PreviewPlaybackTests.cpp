#include "CountedVideo.h"
#include "OrvoVideo/playback/HeardSpans.h"
#include "OrvoVideo/playback/VideoSource.h"
#include "PlayerRig.h"
#include "TestSupport/Media.h"
#include "TestSupport/TemporaryFolder.h"
#include <QThread>
#include <algorithm>
#include <array>
#include <cmath>
#include <format>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <numbers>
#include <sys/inotify.h>
#include <unistd.h>

namespace orvo::test {

namespace fs = std::filesystem;

namespace {

class PreviewPlayback : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        folder = std::make_unique<TemporaryFolder>();
        CountedVideo{.seconds = 2}.write(*folder / "video.mov");
        CountedVideo{.seconds = 20, .keyFrameEvery = 60}.write(*folder / "long.mov");
        makeMedia(path("tone.m4a"), {"-f", "lavfi", "-i", "sine=1000:duration=2:sample_rate=48000", "-c:a", "aac"});
        makeMedia(path("low.m4a"),
            {"-f", "lavfi", "-i", "sine=300:duration=1:sample_rate=44100,pan=stereo|c0=c0|c1=c0", "-c:a", "aac"});
        ffmpeg({"-i", path("video.mov"), "-i", path("tone.m4a"), "-c", "copy", path("both.mp4")});
    }
    static void TearDownTestSuite() { folder.reset(); }

    static std::string path(const std::string& name) { return (*folder / name).string(); }

    static PreviewComposition composition(
        std::vector<PreviewComposition::VideoClip> video, std::vector<PreviewComposition::AudioClip> audio = {})
    {
        return {.width = 320, .height = 180, .fps = 30, .video = std::move(video), .audio = std::move(audio)};
    }
    static PreviewComposition videoAndTone()
    {
        return composition({{.file = path("video.mov")}}, {{.file = path("tone.m4a")}});
    }

    static std::vector<int> numbers(const std::vector<QImage>& frames)
    {
        std::vector<int> result;
        for (const QImage& frame : frames)
            result.push_back(frameNumber(frame).value_or(-1));
        return result;
    }

    static inline std::unique_ptr<TemporaryFolder> folder;
};

TEST_F(PreviewPlayback, PlaysToTheEndInOrder)
{
    for (const bool hasAudio : {true, false}) {
        PlayerRig rig;
        ASSERT_TRUE(rig.load(hasAudio ? videoAndTone() : composition({{.file = path("video.mov")}})));
        EXPECT_EQ(rig.player().rate(), 0);
        rig.player().play();
        EXPECT_EQ(rig.player().rate(), 1);
        ASSERT_TRUE(rig.waitUntil([&] { return rig.ends == 1; }));
        EXPECT_THAT(rig.rates, testing::ElementsAre(1, 0));
        const auto seen = numbers(rig.frames);
        EXPECT_TRUE(std::ranges::is_sorted(seen, std::less_equal<>{})) << "a frame was shown twice or out of order";
        EXPECT_EQ(seen.back(), 59);
        // Even a slow machine shows more than a few frames.
        EXPECT_GT(seen.size(), 10U);
        EXPECT_NEAR(rig.player().position(), 2, 0.1);
        EXPECT_TRUE(std::ranges::is_sorted(rig.times));
        EXPECT_GE(rig.times.size(), 6U);
        // At the end, playback ends at once.
        rig.player().play();
        ASSERT_TRUE(rig.waitUntil([&] { return rig.ends == 2; }));
    }
}

TEST_F(PreviewPlayback, PlaysAtOtherSpeedsAndBackwards)
{
    PlayerRig rig;
    ASSERT_TRUE(rig.load(composition({{.file = path("long.mov")}}, {{.file = path("tone.m4a")}})));
    const auto positionPasses = [&](double seconds) {
        return rig.waitUntil([&] { return rig.player().position() >= seconds; });
    };
    for (const double rate : {1.0, 2.0, 4.0, 0.25}) {
        rig.player().setRate(rate);
        EXPECT_EQ(rig.player().rate(), rate);
        ASSERT_TRUE(positionPasses(rig.player().position() + std::min(rate, 1.0)));
        rig.player().pause();
        EXPECT_EQ(rig.player().rate(), 0);
        // The seek follows the pause, so that frame and time are those of the paused player.
        ASSERT_TRUE(rig.seek(rig.player().position() + 1 / 60.0));
        const double paused = rig.player().position();
        EXPECT_EQ(frameNumber(rig.player().frame()), std::lround(std::floor(paused * 30 + 0.03)));
    }

    ASSERT_TRUE(rig.seek(1.5));
    rig.frames.clear();
    rig.player().setRate(-1);
    ASSERT_TRUE(rig.waitUntil([&] { return rig.player().rate() == 0; }));
    const auto seen = numbers(rig.frames);
    EXPECT_TRUE(std::ranges::is_sorted(seen, std::greater_equal<>{}));
    EXPECT_EQ(seen.back(), 0);
    EXPECT_GT(seen.size(), 10U);
    EXPECT_NEAR(rig.player().position(), 0, 1e-9);
    EXPECT_EQ(rig.ends, 0);
}

TEST_F(PreviewPlayback, ShowsTheExactFrameWhenPaused)
{
    PlayerRig rig;
    ASSERT_TRUE(rig.load(composition({{.file = path("long.mov")}})));
    for (const double rate : {4.0, 1.0}) {
        rig.player().setRate(rate);
        const double target = rig.player().position() + rate / 2;
        ASSERT_TRUE(rig.waitUntil([&] { return rig.player().position() >= target; }));
        rig.player().pause();
        rig.player().setVolume(0, 1);
        ASSERT_TRUE(rig.waitUntil([&] {
            return frameNumber(rig.player().frame()) == std::lround(std::floor(rig.player().position() * 30 + 0.03));
        }));
    }
}

TEST_F(PreviewPlayback, ContinuesFromASeekWhilePlaying)
{
    PlayerRig rig;
    ASSERT_TRUE(rig.load(composition({{.file = path("long.mov")}}, {{.file = path("tone.m4a")}})));
    rig.player().play();
    for (const bool isExpected : {false, true}) {
        const double start = rig.player().position();
        const double target = isExpected ? 11.3 : 5.5;
        if (isExpected)
            rig.player().expectSeek(target);
        ASSERT_TRUE(rig.waitUntil([&] { return rig.player().position() > start + 0.3; }));
        rig.frames.clear();
        ASSERT_TRUE(rig.seek(target));
        EXPECT_EQ(rig.player().rate(), 1);
        ASSERT_TRUE(rig.waitUntil([&] { return rig.player().position() > target + 0.3; }));
        const auto seen = numbers(rig.frames);
        const auto first = std::ranges::find(seen, std::lround(target * 30));
        ASSERT_NE(first, seen.end());
        EXPECT_TRUE(std::all_of(first, seen.end(), [&](int number) { return number >= target * 30; }));
        EXPECT_TRUE(std::is_sorted(first, seen.end(), std::less_equal<>{}));
    }
}

TEST_F(PreviewPlayback, UsesPreparedFrames)
{
    VideoSource source(path("long.mov"), 0);
    source.open({});
    for (const double time : {0.5166, 7.3166, 3.8499, 11.0833, 2.9166, 9.4499}) {
        source.prepare(time);
        // A prepared frame starts at the requested time; one that is decoded again starts at its own.
        EXPECT_NEAR(source.frameAt(time, VideoSource::Want::Exact, {}).sample.start, time, 1e-5);
    }
}

/// The amplitude of one frequency in a span of the audio.
double amplitude(const std::vector<float>& samples, double frequency, double from, double to)
{
    double sine = 0;
    double cosine = 0;
    const auto first = static_cast<std::size_t>(from * 48000);
    const auto last = std::min(static_cast<std::size_t>(to * 48000), samples.size());
    for (std::size_t i = first; i < last; ++i) {
        const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(i) / 48000;
        sine += static_cast<double>(samples[i]) * std::sin(angle);
        cosine += static_cast<double>(samples[i]) * std::cos(angle);
    }
    return last > first ? 2 * std::hypot(sine, cosine) / static_cast<double>(last - first) : 0;
}

TEST_F(PreviewPlayback, MixesTracksAtTheirStartsAndGains)
{
    const std::string heard = path("heard.wav");
    const double unit = 0.125; // The tone generator's amplitude.
    {
        PlayerRig rig("audioconvert ! audioresample ! audio/x-raw,format=F32LE,rate=48000,channels=1 ! wavenc ! filesink "
                      "sync=true location="
            + heard);
        ASSERT_TRUE(rig.load(composition({{.file = path("video.mov")}},
            {{.file = path("tone.m4a"), .volume = 0.5}, {.file = path("low.m4a"), .start = 0.5},
                {.file = path("video.mov")}})));
        rig.player().play();
        ASSERT_TRUE(rig.waitUntil([&] { return rig.player().position() >= 1.0; }));
        // Takes effect after the buffered audio.
        rig.player().setVolume(0, 2);
        rig.player().setVolume(17, 1);
        ASSERT_TRUE(rig.waitUntil([&] { return rig.ends == 1; }));
    }
    const auto samples = decodeAudio(heard);
    ASSERT_GT(samples.size(), 48000U * 19 / 10);
    EXPECT_NEAR(amplitude(samples, 1000, 0.1, 0.9), unit / 2, 0.004);
    EXPECT_NEAR(amplitude(samples, 1000, 1.7, 1.9), unit * 2, 0.02);
    EXPECT_NEAR(amplitude(samples, 300, 0.1, 0.48), 0, 0.004);
    EXPECT_NEAR(amplitude(samples, 300, 0.6, 1.4), unit, 0.01);
    EXPECT_NEAR(amplitude(samples, 300, 1.55, 1.9), 0, 0.004);
    // No gap: no span of 5 ms is silent while the tone plays.
    for (std::size_t at = 4800; at + 240 < 91200; at += 240) {
        const auto loudest = *std::max_element(
            samples.begin() + static_cast<std::ptrdiff_t>(at), samples.begin() + static_cast<std::ptrdiff_t>(at + 240));
        ASSERT_GT(loudest, 0.03) << static_cast<double>(at) / 48000;
    }
}

TEST_F(PreviewPlayback, PlaysAudioOnlyAndSilentFiles)
{
    PlayerRig rig;
    // An audio file adds no video, and a silent video no audio.
    ASSERT_TRUE(
        rig.load(composition({{.file = path("tone.m4a")}}, {{.file = path("low.m4a")}, {.file = path("video.mov")}})));
    EXPECT_EQ(rig.player().frame().size(), QSize(320, 180));
    rig.player().play();
    ASSERT_TRUE(rig.waitUntil([&] { return rig.ends == 1; }));
    EXPECT_NEAR(rig.player().position(), 1, 0.1);

    ASSERT_TRUE(rig.load(composition({{.file = path("both.mp4")}}, {{.file = path("both.mp4")}})));
    ASSERT_TRUE(rig.seek(1));
    EXPECT_EQ(frameNumber(rig.player().frame()), 30);

    ASSERT_TRUE(rig.load(composition({})));
    rig.player().play();
    ASSERT_TRUE(rig.waitUntil([&] { return rig.ends == 2; }));
}

TEST_F(PreviewPlayback, PlaysOnWhenTheAudioDeviceFails)
{
    for (const std::string sink : {"fakesink sync=true state-error=ready-to-paused",
             "fakesink sync=true can-activate-push=false", "fakesink sync=true state-error=paused-to-playing"}) {
        SCOPED_TRACE(sink);
        PlayerRig rig(sink);
        ASSERT_TRUE(rig.load(videoAndTone()));
        rig.player().play();
        ASSERT_TRUE(rig.waitUntil([&] { return rig.ends == 1; }));
        EXPECT_EQ(frameNumber(rig.player().frame()), 59);
    }
}

TEST_F(PreviewPlayback, KeepsTheCompositionWhenALoadFails)
{
    std::ofstream(path("text.mov")) << "Esto no es un vídeo.\n";
    std::ofstream(path("list.m3u8")) << "#EXTM3U\n#EXTINF:1,\nvideo.mov\n";
    std::ofstream(path("empty.mov")).flush();
    fs::copy_file(path("video.mov"), path("cut.mov"));
    fs::resize_file(path("cut.mov"), fs::file_size(path("cut.mov")) / 2);
    PlayerRig rig;
    EXPECT_FALSE(rig.load(composition({{.file = path("missing.mov")}})));
    EXPECT_FALSE(rig.player().hasComposition());
    rig.player().play();
    EXPECT_EQ(rig.player().rate(), 0);

    ASSERT_TRUE(rig.load(videoAndTone()));
    for (const std::string name : {"missing.mov", "text.mov", "list.m3u8", "empty.mov", "cut.mov", ""}) {
        ASSERT_TRUE(rig.seek(1));
        const auto before = rig.failures.size();
        EXPECT_FALSE(rig.load(composition({{.file = path("video.mov")}, {.file = path(name)}}))) << name;
        EXPECT_FALSE(rig.load(composition({{.file = path("video.mov")}}, {{.file = path(name)}}))) << name;
        ASSERT_EQ(rig.failures.size(), before + 2);
        EXPECT_FALSE(rig.failures.back().empty());
        EXPECT_TRUE(rig.player().hasComposition());
        EXPECT_NEAR(rig.player().position(), 1, 1e-9) << name;
        EXPECT_EQ(frameNumber(rig.player().frame()), 30);
        ASSERT_TRUE(rig.seek(1.5));
        EXPECT_EQ(frameNumber(rig.player().frame()), 45);
    }
    rig.player().play();
    EXPECT_TRUE(rig.waitUntil([&] { return rig.ends == 1; }));
}

TEST_F(PreviewPlayback, ReportsOnlyTheLastLoad)
{
    PlayerRig rig;
    rig.player().load(composition({{.file = path("long.mov")}}));
    rig.player().load(composition({{.file = path("missing.mov")}}));
    rig.player().seek(1);
    rig.player().load(videoAndTone());
    rig.player().seek(0.5);
    EXPECT_DOUBLE_EQ(rig.player().position(), 0.5);
    ASSERT_TRUE(rig.waitUntil([&] { return !rig.seeks.empty(); }));
    EXPECT_EQ(rig.loads, 1);
    EXPECT_THAT(rig.failures, testing::IsEmpty());
    EXPECT_EQ(frameNumber(rig.player().frame()), 15);
    EXPECT_THAT(rig.seeks, testing::ElementsAre(0.5));

    // Loads that are replaced while running.
    for (int i = 0; i < 5; ++i) {
        rig.player().load(composition({{.file = path("long.mov")}}, {{.file = path("low.m4a")}}));
        QThread::msleep(5 * static_cast<unsigned long>(i)); // Varies the moment.
    }
    rig.loads = 0;
    ASSERT_TRUE(rig.load(videoAndTone()));
    EXPECT_EQ(rig.loads, 1);
    EXPECT_EQ(rig.player().position(), 0);
    EXPECT_EQ(frameNumber(rig.player().frame()), 0);
}

TEST_F(PreviewPlayback, PlaysNothingAfterClear)
{
    PlayerRig rig;
    ASSERT_TRUE(rig.load(videoAndTone()));
    rig.player().play();
    rig.player().clear();
    EXPECT_FALSE(rig.player().hasComposition());
    EXPECT_EQ(rig.player().rate(), 0);
    ASSERT_TRUE(rig.waitUntil([&] { return rig.player().frame().isNull(); }));
    ASSERT_TRUE(rig.seek(1));
    EXPECT_EQ(rig.player().position(), 0);
    EXPECT_TRUE(rig.player().frame().isNull());
    ASSERT_TRUE(rig.load(videoAndTone()));
    EXPECT_EQ(frameNumber(rig.player().frame()), 0);
}

/// Counts how often the files of a folder are opened.
class Openings {
public:
    /// The queue merges equal consecutive events; closing events keep the openings of one file apart.
    explicit Openings(const fs::path& folder) { ::inotify_add_watch(m_queue, folder.c_str(), IN_OPEN | IN_CLOSE); }
    ~Openings() { ::close(m_queue); }
    Openings(const Openings&) = delete;
    Openings& operator=(const Openings&) = delete;

    std::map<std::string, int> take() const
    {
        std::map<std::string, int> counts;
        alignas(inotify_event) std::array<char, 4096> buffer{};
        for (ssize_t got = 0; (got = ::read(m_queue, buffer.data(), buffer.size())) > 0;) {
            for (ssize_t at = 0; at < got;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
                if ((event->mask & IN_OPEN) != 0 && event->len > 0)
                    ++counts[event->name];
                at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
        return counts;
    }

private:
    int m_queue = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
};

/// Describes the clips of a test without opening them.
class KnownClips final : public MediaProbe {
public:
    MediaFacts facts(const fs::path&, const std::stop_token&) const override
    {
        return {.duration = 1, .video = MediaFacts::Video{.width = 320, .height = 180}};
    }
};

TEST_F(PreviewPlayback, OpensEachOfManyClipsOnce)
{
    fs::create_directories(path("clips"));
    std::vector<PreviewComposition::VideoClip> clips;
    for (int i = 0; i < 8; ++i) {
        clips.push_back({.file = path(std::format("clips/{}.mov", i)), .start = static_cast<double>(i)});
        CountedVideo{.seconds = 1}.write(clips.back().file);
    }
    const auto openings = [&clips](const std::vector<PreviewComposition::VideoClip>& loaded, double seconds) {
        const Openings counted(clips.front().file.parent_path());
        PlayerRig rig("fakesink sync=true", std::make_unique<KnownClips>());
        EXPECT_TRUE(rig.load(composition(loaded)));
        EXPECT_TRUE(rig.seek(seconds));
        return counted.take();
    };
    const int once = openings({clips.front()}, 0.5)["0.mov"]; // A decoder may open its file more than once.
    EXPECT_GT(once, 0);
    clips.push_back({.file = clips.front().file, .start = 8});
    const auto counts = openings(clips, 2.5);
    EXPECT_EQ(counts.size(), 8U);
    EXPECT_THAT(counts, testing::Each(testing::Pair(testing::_, once))) << "the first three are still open";
}

TEST_F(PreviewPlayback, RereadsReplacedFiles)
{
    CountedVideo{.seconds = 1}.write(path("changing.mov"));
    PlayerRig rig;
    ASSERT_TRUE(rig.load(composition({{.file = path("changing.mov")}})));
    fs::copy_file(path("long.mov"), path("changing.mov"), fs::copy_options::overwrite_existing);
    ASSERT_TRUE(rig.load(composition({{.file = path("changing.mov")}})));
    ASSERT_TRUE(rig.seek(15));
    EXPECT_EQ(frameNumber(rig.player().frame()), 450);
}

TEST_F(PreviewPlayback, DestroysThePlayerInAnyState)
{
    const auto long2 = composition({{.file = path("long.mov")}, {.file = path("video.mov"), .start = 3}},
        {{.file = path("tone.m4a")}, {.file = path("low.m4a")}});
    for (int turns = 0; turns < 6; ++turns) {
        PlayerRig loading;
        loading.player().load(long2);
        QThread::msleep(8 * static_cast<unsigned long>(turns)); // Varies the moment.
        loading.destroyPlayer();
    }
    for (int turns = 0; turns < 6; ++turns) {
        PlayerRig rig;
        ASSERT_TRUE(rig.load(long2));
        if (turns % 2 == 0) {
            rig.player().play();
            ASSERT_TRUE(rig.waitUntil([&] { return rig.times.size() > 1; }));
        }
        rig.player().expectSeek(12);
        rig.player().seek(10 + turns);
        if (turns > 3) {
            ASSERT_TRUE(rig.waitUntil([&] { return !rig.seeks.empty(); }));
        }
        rig.destroyPlayer();
    }
}

TEST(HeardSpans, FadesAtSpanEndsAndSilencesTheRest)
{
    EXPECT_EQ(HeardSpans().gain(5), 1) << "without spans, everything is audible";
    const HeardSpans spans(
        {{.span = {.start = 1, .end = 3}, .fadeIn = 0.5, .fadeOut = 0.25}, {.span = {.start = 4, .end = 5}}});
    for (const auto& [time, gain] :
        {std::pair(0.5, 0.0), {1, 0}, {1.25, 0.5}, {2, 1}, {2.875, 0.5}, {3, 0}, {3.5, 0}, {4, 1}, {4.999, 1}, {5, 0}})
        EXPECT_NEAR(spans.gain(time), gain, 1e-9) << time;
    std::vector<float> samples(8, 1);
    spans.apply(5, 4, samples); // 1.25, 1.5, 1.75, 2 s
    EXPECT_THAT(samples, testing::ElementsAre(0.5F, 0.5F, 1, 1, 1, 1, 1, 1));
}

} // namespace

} // namespace orvo::test
