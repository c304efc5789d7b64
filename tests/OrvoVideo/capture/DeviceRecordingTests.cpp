#include "RecordingFixture.h"
#include "TestSupport/SmallDisk.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/PointerLog.h"
#include "VideoMedia/RecordingPreparation.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <ranges>
#include <vector>

namespace orvo::test {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class ScreenRecording : public RecordingFixture { };

TEST_F(ScreenRecording, RecordsADisplayAtTheRightTimes)
{
    const PatternWindow pattern({});
    ASSERT_TRUE(display.xdotool({"mousemove", "320", "100"}));
    const auto recorded = record(planOf(CaptureSources::displays().front()), 4);
    EXPECT_EQ(recorded.project.state, "ready");
    EXPECT_EQ(recorded.project.width, 640);
    EXPECT_EQ(recorded.project.height, 360);
    EXPECT_FALSE(std::filesystem::exists(store.directory(recorded.project.id) / CaptureSession::fileName));

    const auto frames = TimePattern::framesOf(mediaOf(recorded.project, TrackKind::screen));
    ASSERT_GT(frames.size(), 60U);
    expectCorners(frames.back().frame, {0, 0, 640, 360});
    expectEvenTime(frames);
    // The pointer is not recorded: its place shows only the background.
    const auto background = frames.back().frame.at(320, 80);
    for (int x = 300; x < 340; x += 2)
        EXPECT_NEAR(frames.back().frame.at(x, 105).brightness(), background.brightness(), 6) << x;
}

TEST_F(ScreenRecording, RecordsARegionOnly)
{
    const PatternWindow pattern({.x = 101, .y = 51, .width = 402, .height = 202});
    auto plan = planOf(CaptureSources::displays().front());
    plan.options.region = Rect{101, 51, 402, 202};
    const auto recorded = record(plan, 1.5);
    const auto frames = TimePattern::framesOf(mediaOf(recorded.project, TrackKind::screen));
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames.back().frame.width, 402);
    expectCorners(frames.back().frame, {0, 0, 402, 202});
    EXPECT_TRUE(frames.back().shown);
}

TEST_F(ScreenRecording, RecordsOneOfTwoMonitors)
{
    ASSERT_TRUE(run("xrandr", {"--setmonitor", "left", "240/60x360/90+0+0", "screen"}));
    ASSERT_TRUE(run("xrandr", {"--setmonitor", "right", "400/100x360/90+240+0", "none"}));
    const auto displays = CaptureSources::displays();
    ASSERT_EQ(displays.size(), 2U);
    EXPECT_EQ(displays[0].label, "Pantalla 1 · 240×360");
    EXPECT_EQ(displays[1].label, "Pantalla 2 · 400×360");
    EXPECT_EQ(displays[1].rect, (Rect{240, 0, 400, 360}));

    const PatternWindow pattern({.x = 240, .y = 0, .width = 400, .height = 360});
    const auto recorded = record(planOf(displays[1]), 1.5);
    const auto frames = TimePattern::framesOf(mediaOf(recorded.project, TrackKind::screen));
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames.back().frame.width, 400);
    expectCorners(frames.back().frame, {0, 0, 400, 360});

    auto session = start(planOf(displays[1]));
    waitFor(*session, 1);
    ASSERT_TRUE(run("xrandr", {"--delmonitor", "right"}));
    ASSERT_TRUE(comesToHold([&] { return !error().empty(); }));
    EXPECT_EQ(error(), "La pantalla que se grababa se ha desconectado.");
    EXPECT_EQ(session->stop().project.state, "ready");
}

TEST_F(ScreenRecording, FollowsAWindowUnderOthers)
{
    PatternWindow pattern({.x = 40, .y = 30, .width = 400, .height = 240}, {"--title", "Leccion"});
    const auto windows = CaptureSources::windows();
    ASSERT_EQ(windows.size(), 1U);
    EXPECT_EQ(windows[0].label, "Pattern — Leccion");
    EXPECT_EQ(windows[0].rect, (Rect{40, 30, 400, 240}));

    auto session = start(planOf(windows[0]));
    waitFor(*session, 1);
    const PatternWindow cover({.x = 0, .y = 0, .width = 640, .height = 360}, {"--title", "Encima"});
    const double covered = session->time();
    waitFor(*session, covered + 1);
    ASSERT_TRUE(display.xdotool({"search", "--name", "Leccion", "windowmove", "--sync", "200", "100"}));
    const double moved = session->time();
    waitFor(*session, moved + 1);
    ASSERT_TRUE(display.xdotool({"mousemove", "300", "160"}));
    waitFor(*session, moved + 1.5);
    ASSERT_TRUE(display.xdotool({"search", "--name", "Leccion", "windowunmap", "--sync"}));
    ASSERT_TRUE(display.xdotool({"search", "--name", "Leccion", "windowmap", "--sync"}));
    const double mapped = session->time();
    waitFor(*session, mapped + 1);
    ASSERT_TRUE(display.xdotool({"search", "--name", "Leccion", "windowsize", "--sync", "200", "240"}));
    const double resized = session->time();
    waitFor(*session, resized + 1);
    ASSERT_TRUE(display.xdotool({"mousemove", "250", "160"}));
    waitFor(*session, resized + 1.5);
    pattern.close();
    ASSERT_TRUE(comesToHold([&] { return !error().empty(); }));
    EXPECT_EQ(error(), "La ventana que se grababa se ha cerrado.");
    const auto result = session->stop();
    EXPECT_EQ(result.project.state, "ready");
    EXPECT_FALSE(result.error);

    const auto frames = TimePattern::framesOf(mediaOf(result.project, TrackKind::screen));
    const auto at = [&](double time) {
        return *std::ranges::find_last_if(frames, [time](const auto& frame) { return frame.time <= time; }).begin();
    };
    for (const double time : {covered + 0.8, moved + 0.8, mapped + 0.8}) {
        expectCorners(at(time).frame, {0, 0, 400, 240});
        ASSERT_TRUE(at(time).shown) << time;
        EXPECT_NEAR(*at(time).shown - *frames[20].shown, at(time).time - frames[20].time, 0.15) << time;
    }
    // A narrower window is shown in its own size, with black beside it.
    const auto narrow = at(resized + 0.8).frame;
    EXPECT_LT(narrow.mean(0.05, 0.1, 0.2, 0.9).brightness(), 5);
    EXPECT_GT(narrow.mean(0.3, 0.15, 0.7, 0.4).brightness(), 20);
    const auto& events = result.project.edit.events.items();
    const auto near = [](double value, double wanted) { return std::abs(value - wanted) < 0.02; };
    EXPECT_TRUE(std::ranges::any_of(events, [&](const auto& event) { return near(event.x, 0.25) && near(event.y, 0.25); }))
        << "the pointer is relative to the moved window";
    EXPECT_TRUE(std::ranges::any_of(events, [&](const auto& event) {
        return event.time > resized && near(event.x, 0.375) && near(event.y, 0.25);
    })) << "the pointer is relative to the narrower window in the frame";
}

TEST_F(ScreenRecording, ShowsTheWholeDisplayWhenItsSizeChanges)
{
    const PatternWindow pattern({.x = 0, .y = 0, .width = 320, .height = 270});
    ASSERT_TRUE(run("xrandr", {"--newmode", "small", "10", "320", "330", "340", "350", "270", "280", "290", "300"}));
    ASSERT_TRUE(run("xrandr", {"--addmode", "screen", "small"}));
    auto session = start(planOf(CaptureSources::displays().front()));
    waitFor(*session, 1.5);
    ASSERT_TRUE(run("xrandr", {"--output", "screen", "--mode", "small"}));
    const double small = session->time();
    waitFor(*session, small + 1.5);
    ASSERT_TRUE(run("xrandr", {"--output", "screen", "--mode", "640x360"}));
    const double large = session->time();
    waitFor(*session, large + 1.5);
    const auto project = session->stop().project;
    EXPECT_EQ(project.state, ProjectState::ready);
    EXPECT_THAT(error(), IsEmpty());

    const auto file = mediaOf(project, TrackKind::screen);
    EXPECT_NEAR(probe(file).videoDuration, project.duration, 0.02);
    const auto frames = TimePattern::framesOf(file);
    const auto at = [&](double time) {
        return std::ranges::find_last_if(frames, [time](const auto& frame) { return frame.time <= time; }).begin()->frame;
    };
    expectCorners(at(1.2), {0, 0, 320, 270});
    expectCorners(at(small + 1.2), {160, 45, 320, 270}); // Not enlarged, with black around it.
    EXPECT_LT(at(small + 1.2).mean(0, 0, 0.24, 1).brightness(), 5);
    EXPECT_LT(at(small + 1.2).mean(0, 0.9, 1, 1).brightness(), 5);
    expectCorners(at(large + 1.2), {0, 0, 320, 270});
    EXPECT_GT(*frames.back().shown, *frames.front().shown + large) << "the recording continues";
}

TEST_F(ScreenRecording, EncodesFewFramesWithoutChanges)
{
    const auto recorded = record(planOf(CaptureSources::displays().front()), 3);
    const auto probed = probe(mediaOf(recorded.project, TrackKind::screen));
    EXPECT_EQ(probed.videoCodec, "h264");
    EXPECT_NEAR(probed.videoDuration, recorded.project.duration, 0.02);
    EXPECT_LT(probed.frames, 20) << "a still screen needs few frames";
}

TEST_F(ScreenRecording, RecordsNothingWhilePaused)
{
    const PatternWindow pattern({});
    auto session = start(planOf(CaptureSources::displays().front()));
    waitFor(*session, 1.5);
    session->togglePause();
    EXPECT_TRUE(session->isPaused());
    waitFor(*session, 3.5);
    session->togglePause();
    waitFor(*session, 5);
    session->togglePause(); // Stopped while paused.
    waitFor(*session, 6);
    const auto project = session->stop().project;

    ASSERT_EQ(project.edit.cuts.size(), 2U);
    const TimeSpan first = project.edit.cuts[0];
    EXPECT_NEAR(first.duration(), 2, 0.3);
    EXPECT_NEAR(project.edit.cuts[1].end, project.duration, 0.01);
    const auto frames = TimePattern::framesOf(mediaOf(project, TrackKind::screen));
    const double origin = *frames[10].shown - frames[10].time;
    for (const auto& frame : frames) {
        ASSERT_TRUE(frame.shown);
        const double shownAt = *frame.shown - origin;
        EXPECT_FALSE(shownAt > first.start + 0.1 && shownAt < first.end - 0.1) << frame.time << " shows the pause";
    }
    EXPECT_THAT(project.edit.events.items(),
        testing::Each(testing::Field(&PointerEvent::time,
            testing::Not(testing::AllOf(testing::Gt(first.start + 0.05), testing::Lt(first.end - 0.05))))));
    EXPECT_NEAR(probe(mediaOf(project, TrackKind::screen)).videoDuration, project.duration, 0.02);
}

TEST_F(ScreenRecording, ShowsTheCurrentScreenAfterAPause)
{
    const auto paint = [](const char* colour) { ASSERT_TRUE(run("xsetroot", {"-solid", colour})); };
    paint("red");
    auto session = start(planOf(CaptureSources::displays().front()));
    waitFor(*session, 1);
    session->togglePause();
    waitFor(*session, 1.5);
    paint("blue");
    waitFor(*session, 4.5);
    const auto interrupted = store.load(session->id()); // As if the process ended now.
    ASSERT_EQ(interrupted.edit.cuts.size(), 1U);
    EXPECT_NEAR(interrupted.edit.cuts[0].end, interrupted.duration, 1e-9);
    session->togglePause();
    waitFor(*session, 6);
    const auto project = session->stop().project;
    ASSERT_EQ(project.edit.cuts.size(), 1U);
    EXPECT_NEAR(project.edit.cuts[0].start, interrupted.edit.cuts[0].start, 1e-9);

    const auto frames = framesAtRate(mediaOf(project, TrackKind::screen), 30);
    const double end = project.edit.cuts[0].end;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const double time = static_cast<double>(i) / 30;
        const auto colour = frames[i].mean(0.1, 0.1, 0.9, 0.9);
        if (time >= end) {
            EXPECT_GT(colour.blue, 180) << time;
        } else if (time < end - 0.1) {
            EXPECT_GT(colour.red, 180) << time;
        }
    }
}

TEST_F(ScreenRecording, LogsThePointerAndItsPresses)
{
    const PatternWindow pattern({});
    auto plan = planOf(CaptureSources::displays().front());
    plan.options.region = Rect{100, 100, 400, 200};
    ASSERT_TRUE(display.xdotool({"mousemove", "100", "100"}));
    auto session = start(plan);
    waitFor(*session, 1);
    ASSERT_TRUE(display.xdotool({"mousemove", "300", "150", "click", "1", "click", "3"}));
    session->markZoom();
    waitFor(*session, 2);
    ASSERT_TRUE(display.xdotool({"mousemove", "500", "300", "click", "1"})); // Outside.
    const double left = session->time();
    waitFor(*session, 4.5);
    const auto written = PointerLog::read(store.directory(session->id())).value();
    EXPECT_GT(written.size(), 15U) << "the log follows the recording";
    const auto project = session->stop().project;

    const auto& events = project.edit.events.items();
    EXPECT_EQ(PointerLog::read(store.directory(project.id)).value(), events);
    const auto count = [&](PointerKind kind) { return std::ranges::count(events, kind, &PointerEvent::kind); };
    EXPECT_EQ(count(PointerKind::click), 2);
    EXPECT_EQ(count(PointerKind::zoom), 1);
    EXPECT_NEAR(static_cast<double>(count(PointerKind::move)), 12 * left, 6);
    EXPECT_EQ(events.front().x, 0) << "the left edge is inside";
    EXPECT_EQ(events.front().y, 0);
    for (const auto& event : events) {
        if (event.kind != PointerKind::move) {
            EXPECT_DOUBLE_EQ(event.x, 0.5);
            EXPECT_DOUBLE_EQ(event.y, 0.25);
        }
        EXPECT_LE(event.time, left + 0.2);
    }
    EXPECT_TRUE(std::ranges::is_sorted(events, {}, &PointerEvent::time));
}

TEST_F(ScreenRecording, KeepsTheRecordingWhenTheDiskIsFull)
{
    const PatternWindow pattern({});
    auto session = start(planOf(CaptureSources::displays().front()));
    waitFor(*session, 5);
    {
        const auto file = store.mediaURL(session->project(), "media/screen.mov");
        const auto pieces = [&] {
            return std::ranges::distance(std::views::split(readFile(file), std::string_view("moof"))) - 1;
        };
        ASSERT_TRUE(comesToHold([&] { return pieces() >= 2; })) << "two fragments are written";
        const FileSizeLimit full(std::filesystem::file_size(file) + 20'000);
        ASSERT_TRUE(comesToHold([&] { return !error().empty(); }));
    }
    EXPECT_THAT(error(), HasSubstr("No se puede seguir grabando «screen.mov»"));
    const auto result = session->stop();
    EXPECT_EQ(result.project.state, "recoverable");
    EXPECT_TRUE(result.error);
    const auto prepared =
        RecordingPreparation::prepare(result.project, store, FfprobeMediaProbe(), RecordingPreparation::Which::all);
    EXPECT_GT(prepared.files.begin()->second.duration, 2.5);
}

class AudioRecording : public RecordingFixture {
protected:
    /// Expects flashes and tones at the same times. A busy machine may displace some, but not most.
    static void expectTogether(const std::vector<double>& flashes, const std::vector<double>& tones)
    {
        ASSERT_GE(flashes.size(), 3U);
        ASSERT_FALSE(tones.empty());
        std::vector<double> errors;
        for (const double flash : flashes) {
            const double nearest = std::ranges::min(tones, {}, [flash](double tone) { return std::abs(tone - flash); });
            errors.push_back(std::abs(nearest - flash));
        }
        std::ranges::sort(errors);
        EXPECT_LT(errors[errors.size() / 2], 0.04) << testing::PrintToString(tones) << testing::PrintToString(flashes);
    }

    AudioWorld audio;
};

TEST_F(AudioRecording, KeepsAudioInTimeWithVideo)
{
    const PatternWindow pattern({}, {"--sound"});
    auto plan = planOf(CaptureSources::displays().front());
    plan.options.systemAudio = plan.options.microphone = true;
    const auto recorded = record(plan, 8);
    const auto frames = TimePattern::framesOf(mediaOf(recorded.project, TrackKind::screen));
    const auto flashes = TimePattern::flashStarts(frames);
    const auto tones = TimePattern::toneStarts(mediaOf(recorded.project, TrackKind::system));
    ASSERT_GE(flashes.size(), 6U);
    expectTogether({flashes.begin() + 1, flashes.end() - 1}, tones);
    const auto system = probe(mediaOf(recorded.project, TrackKind::system));
    const auto microphone = probe(mediaOf(recorded.project, TrackKind::microphone));
    EXPECT_EQ(system.audioCodec, "aac");
    EXPECT_EQ(system.audioChannels, 2);
    const auto screen = probe(mediaOf(recorded.project, TrackKind::screen));
    EXPECT_NEAR(system.audioDuration, screen.videoDuration, 0.022) << "a frame of AAC is 21 ms";
    EXPECT_NEAR(microphone.audioDuration, screen.videoDuration, 0.022);
    EXPECT_NEAR(recorded.project.duration, screen.videoDuration, 0.022);
}

TEST_F(AudioRecording, ResumesAudioWhenTheServerRestarts)
{
    auto plan = planOf(CaptureSources::displays().front());
    plan.options.systemAudio = true;
    auto session = start(plan);
    {
        const PatternWindow pattern({}, {"--sound"});
        waitFor(*session, 3);
    }
    audio.endServer();
    const double gone = session->time();
    waitFor(*session, gone + 2);
    audio.startServer();
    const PatternWindow pattern({}, {"--sound"});
    const double back = session->time();
    waitFor(*session, back + 7);
    const auto project = session->stop().project;
    EXPECT_EQ(project.state, "ready");
    EXPECT_THAT(error(), IsEmpty());

    auto flashes = TimePattern::flashStarts(TimePattern::framesOf(mediaOf(project, TrackKind::screen)));
    const auto file = mediaOf(project, TrackKind::system);
    const auto tones = TimePattern::toneStarts(file);
    EXPECT_LT(level(decodeAudio(file), gone + 0.2, gone + 1.8), 0.001);
    // The recorder looks for the server every half second, and a new stream needs a moment to become steady.
    std::erase_if(flashes, [back](double flash) { return flash < back + 2; });
    expectTogether(flashes, tones);
    EXPECT_NEAR(probe(file).audioDuration, project.duration, 0.03);
}

TEST_F(AudioRecording, ReportsAMissingMicrophoneAndRecordsWithoutIt)
{
    auto plan = planOf(CaptureSources::displays().front());
    plan.options.microphone = true;
    plan.options.microphoneDevice = "usb";
    auto session = start(plan);
    EXPECT_THAT(devices(), testing::ElementsAre(std::pair(TrackKind::microphone, true)));
    waitFor(*session, 0.5);
    const auto project = session->stop().project;
    EXPECT_EQ(project.state, "ready");
    EXPECT_EQ(project.tracks.size(), 1U);
}

TEST_F(AudioRecording, RecordsAMicrophoneOfAnotherSampleRate)
{
    audio.addSink("raro", {"rate=22050", "channels=1"});
    audio.pactl(
        {"load-module", "module-remap-source", "master=raro.monitor", "source_name=rarito", "rate=22050", "channels=1"});
    const auto devices = AudioInputs::list();
    const auto ids = devices.microphones | std::views::transform(&AudioDevice::id) | std::ranges::to<std::vector>();
    EXPECT_THAT(ids, testing::UnorderedElementsAre("microphone", "rarito")) << "monitors of outputs are not microphones";
    EXPECT_TRUE(std::ranges::any_of(
        devices.microphones, [](const auto& device) { return device.id == AudioWorld::microphone && device.isDefault; }));

    auto plan = planOf(CaptureSources::displays().front());
    plan.options.microphone = true;
    plan.options.microphoneDevice = "rarito";
    auto session = start(plan);
    ASSERT_TRUE(run("sh", {"-c", "ffmpeg -v error -f lavfi -i sine=500:d=1 -f wav - | paplay --device=raro"}));
    waitFor(*session, session->time() + 0.5);
    const auto project = session->stop().project;
    const auto file = mediaOf(project, TrackKind::microphone);
    EXPECT_EQ(probe(file).audioChannels, 1);
    const auto samples = decodeAudio(file);
    double loudest = 0;
    for (double time = 0; time < project.duration; time += 0.1)
        loudest = std::max(loudest, level(samples, time, time + 0.1));
    EXPECT_NEAR(loudest, 0.125 / std::sqrt(2), 0.02) << "recorded at the level at which it was played";
}

} // namespace

} // namespace orvo::test
