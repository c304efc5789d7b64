#include "RecordingFixture.h"
#include "TestSupport/Media.h"
#include "TestSupport/SharedScreen.h"
#include "VideoCore/Error.h"

#include <array>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

/// Recordings of a stream like the portal's.
class SharedRecording : public RecordingFixture {
protected:
    RecordingSession::Plan share(const SharedScreen::Form& form)
    {
        screen = std::make_unique<SharedScreen>(form);
        const auto shown = form.window.value_or(
            SharedScreen::Part{.width = static_cast<int>(form.width), .height = static_cast<int>(form.height)});
        CaptureSource source{
            .id = "d1", .rect = {.width = static_cast<double>(shown.width), .height = static_cast<double>(shown.height)}};
        source.stream = std::make_shared<const PipeWireStream>(SharedScreen::connection(), screen->node());
        return planOf(source);
    }

    /// Red on the left, blue on the right.
    static void expectShared(const Frame& frame)
    {
        const auto left = frame.mean(0.05, 0.1, 0.45, 0.9);
        const auto right = frame.mean(0.55, 0.1, 0.95, 0.9);
        EXPECT_GT(left.red, 180);
        EXPECT_LT(left.blue, 60);
        EXPECT_GT(right.blue, 180);
        EXPECT_LT(right.red, 60);
    }

    /// The decoded frames of a project's screen, which is as long as the project.
    std::vector<Frame> framesOf(const VideoProject& project)
    {
        const auto file = mediaOf(project, TrackKind::screen);
        EXPECT_NEAR(probe(file).videoDuration, project.duration, 0.03);
        return decodeFrames(file);
    }

    AudioWorld world; // Its PipeWire serves the streams.
    std::unique_ptr<SharedScreen> screen;
};

TEST_F(SharedRecording, StartsBeforeTheFirstFrame)
{
    const auto plan = share({.draws = false});
    auto session = start(plan);
    waitFor(*session, 3); // The time runs although no frame has arrived.
    screen->beginToDraw();
    waitFor(*session, 4.5);
    const auto project = session->stop().project;
    EXPECT_EQ(project.state, ProjectState::ready);
    const auto frames = framesOf(project);
    ASSERT_GT(frames.size(), 10U);
    expectShared(frames.front()); // The first frame also covers the time before it.
    expectShared(frames.back());
}

TEST_F(SharedRecording, RecordsBlackWithAudioWithoutFrames)
{
    auto plan = share({.draws = false});
    plan.options.microphone = true;
    auto session = start(plan);
    waitFor(*session, 5);
    // The file as if the process ended now.
    const auto copy = folder / "copy.mov";
    std::filesystem::copy_file(mediaOf(session->project(), TrackKind::screen), copy);
    EXPECT_THAT(decodeFrames(copy), testing::Not(testing::IsEmpty()));
    const auto project = session->stop().project;
    EXPECT_EQ(project.state, ProjectState::ready);
    EXPECT_NEAR(probe(mediaOf(project, TrackKind::microphone)).audioDuration, project.duration, 0.03);
    const auto frames = framesOf(project);
    ASSERT_FALSE(frames.empty());
    EXPECT_LT(frames.front().mean(0, 0, 1, 1).brightness(), 5);
    EXPECT_LT(frames.back().mean(0, 0, 1, 1).brightness(), 5);
}

TEST_F(SharedRecording, FollowsAWindowWithinItsFrames)
{
    // A compositor that draws windows into frames as large as the monitor.
    auto session = start(share({.width = 640, .height = 360, .window = SharedScreen::Part{100, 60, 320, 180}}));
    struct Step {
        SharedScreen::Part window;
        Point pointer; // In pixels of the compositor's frames: at a quarter and a half of the window.
        Rect shown; // The part of the recorded frame with the window.
        double from = 0;
    };
    std::array<Step, 3> steps{{
        {{100, 60, 320, 180}, {180, 150}, {0, 0, 1, 1}},
        {{300, 170, 320, 180}, {380, 260}, {0, 0, 1, 1}},
        {{200, 20, 160, 180}, {240, 110}, {0.25, 0, 0.5, 1}},
    }};
    for (auto& step : steps) {
        screen->moveWindow(step.window);
        screen->movePointer(static_cast<int>(step.pointer.x), static_cast<int>(step.pointer.y));
        step.from = session->time() + 0.5;
        waitFor(*session, step.from + 1);
    }
    const auto project = session->stop().project;
    EXPECT_EQ(project.width, 320);
    EXPECT_EQ(project.height, 180);
    const auto frames = framesAtRate(mediaOf(project, TrackKind::screen), 10);
    for (const auto& [window, pointer, shown, from] : steps) {
        const auto& frame = frames.at(static_cast<std::size_t>((from + 0.5) * 10));
        const auto left = frame.mean(shown.x + 0.05 * shown.width, 0.1, shown.x + 0.45 * shown.width, 0.9);
        const auto right = frame.mean(shown.x + 0.55 * shown.width, 0.1, shown.x + 0.95 * shown.width, 0.9);
        EXPECT_GT(left.red, 180) << window.x;
        EXPECT_GT(right.blue, 180) << window.x;
        if (shown.x > 0) {
            EXPECT_LT(frame.mean(0, 0, shown.x - 0.03, 1).brightness(), 5);
        }
        int marks = 0;
        for (const auto& event : project.edit.events.items()) {
            if (event.time < from || event.time > from + 1)
                continue;
            EXPECT_NEAR(event.x, shown.x + 0.25 * shown.width, 1e-9) << window.x;
            EXPECT_NEAR(event.y, 0.5, 1e-9) << window.x;
            ++marks;
        }
        EXPECT_GT(marks, 3);
    }
}

TEST_F(SharedRecording, RejectsUnusableStreams)
{
    auto plan = share({.order = SharedScreen::Order::separate});
    EXPECT_THAT([&] { start(plan); },
        testing::ThrowsMessage<Error>("El escritorio comparte la pantalla, pero no entrega ninguna imagen de ella."));
    plan = share({});
    screen.reset();
    EXPECT_THAT(
        [&] { start(plan); }, testing::ThrowsMessage<Error>("El escritorio ha dejado de compartir lo que se grababa."));
    EXPECT_EQ(record(share({}), 1).project.state, ProjectState::ready) << "the same engine records afterwards";
}

TEST_F(SharedRecording, KeepsTheRecordingWhenTheDesktopEnds)
{
    enum class End { stream, everything };
    for (const auto ending : {End::stream, End::everything}) {
        auto session = start(share({}));
        waitFor(*session, 2);
        if (ending == End::stream)
            screen.reset();
        else
            world.endPipeWire();
        ASSERT_TRUE(comesToHold([&] { return !error().empty(); }));
        EXPECT_EQ(error(), "El escritorio ha dejado de compartir lo que se grababa.");
        const auto result = session->stop();
        EXPECT_EQ(result.error, std::nullopt);
        EXPECT_EQ(result.project.state, ProjectState::ready);
        EXPECT_GE(result.project.duration, 2);
        const auto frames = framesOf(result.project);
        ASSERT_GT(frames.size(), 30U);
        expectShared(frames.back());
    }
}

} // namespace

} // namespace orvo::test
