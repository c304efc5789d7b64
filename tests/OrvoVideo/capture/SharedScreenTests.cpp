#include "OrvoVideo/capture/screen/ScreenStream.h"
#include "TestSupport/AudioWorld.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/SharedScreen.h"
#include "VideoCore/Error.h"

#include <QDeadlineTimer>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>

namespace orvo::test {

namespace {

using namespace std::chrono_literals;

class SharedScreenTests : public testing::Test {
protected:
    void open(const SharedScreen::Form& form, const ScreenStream::Settings& settings, double scale = 1)
    {
        screen = std::make_unique<SharedScreen>(form);
        source.stream = std::make_shared<const PipeWireStream>(SharedScreen::connection(), screen->node());
        source.scale = scale;
        source.rect = {.x = 1000, .y = 500, .width = form.width / scale, .height = form.height / scale};
        stream = ScreenStream::open(source, settings);
        stream->start({.frame =
                           [this](const CapturedFrame& frame) {
                               const std::lock_guard lock(mutex);
                               newest = frame;
                           },
            .ended = {}});
        ASSERT_TRUE(comesToHold([this] { return frame().memory != nullptr; }));
    }

    CapturedFrame frame()
    {
        const std::lock_guard lock(mutex);
        return newest;
    }

    /// Whether a pixel of the frame is red or blue.
    static bool isRed(const CapturedFrame& frame, int x, int y) { return chroma(frame, x, y) > 60; }
    static bool isBlue(const CapturedFrame& frame, int x, int y) { return chroma(frame, x, y) < -60; }
    /// The red minus the blue chroma of a pixel.
    static int chroma(const CapturedFrame& frame, int x, int y)
    {
        const auto at = std::ptrdiff_t{y} / 2 * frame.memory->chromaStride() + x / 2;
        return frame.memory->red()[at] - frame.memory->blue()[at];
    }

    AudioWorld world; // Its PipeWire serves the streams.
    std::mutex mutex;
    CapturedFrame newest;
    CaptureSource source{.id = "d1"};
    std::unique_ptr<SharedScreen> screen;
    std::unique_ptr<ScreenStream> stream;
};

TEST_F(SharedScreenTests, DeliversFramesAndPointerToSeveralReaders)
{
    open({.width = 320, .height = 180}, {.size = {.width = 160, .height = 90}}, 2);
    EXPECT_TRUE(isRed(frame(), 20, 40));
    EXPECT_TRUE(isBlue(frame(), 140, 40));
    const auto look = PipeWireStream::look(source.stream, {160, 160}, 10s);
    EXPECT_EQ(look.size, (FrameSize{320, 180}));
    ASSERT_TRUE(look.frame);
    EXPECT_EQ(look.frame->size, (FrameSize{160, 90})) << "without the black around it";
    EXPECT_GT(look.frame->pixels.front(), 200) << "red";
    EXPECT_GT(look.frame->pixels.back(), 200) << "blue";
    screen->movePointer(100, 60);
    ASSERT_TRUE(comesToHold([&] { return stream->view().pointer == Point{1050, 530}; })) << "in the global display space";
    screen->losePointer();
    EXPECT_TRUE(comesToHold([&] { return !stream->view().pointer; })) << "the pointer is on another screen";
    screen.reset();
    EXPECT_THROW(ScreenStream::open(source, {.size = {160, 90}})->start({}), Error);
}

TEST_F(SharedScreenTests, KeepsTheLastFrameWhenThePointerMoves)
{
    for (int i = 0; i < 5; ++i) {
        open({.width = 320, .height = 180}, {.size = {.width = 160, .height = 90}});
        ASSERT_TRUE(isRed(frame(), 20, 40));
        // On a busy machine, PipeWire may drop a frame itself. A stream that forgets the last one forgets it every time.
        const auto isTurned = [&] { return isBlue(frame(), 20, 40); };
        for (int attempts = 0; attempts < 10 && !isTurned(); ++attempts) {
            screen->turnForGood();
            const QDeadlineTimer soon(3000);
            ASSERT_TRUE(comesToHold([&] { return isTurned() || soon.hasExpired(); }));
        }
        EXPECT_TRUE(isTurned());
        stream.reset();
        newest = {};
    }
}

TEST_F(SharedScreenTests, CropsARegionInTheOtherByteOrder)
{
    open({.width = 320, .height = 180, .order = SharedScreen::Order::redGreenBlue},
        {.size = {.width = 100, .height = 100}, .region = Rect{1140, 540, 100, 100}});
    EXPECT_TRUE(isRed(frame(), 10, 50));
    EXPECT_TRUE(isBlue(frame(), 30, 50)) << "the colours meet 20 pixels from the left edge of the region";
    EXPECT_EQ(stream->view().area, (Rect{1140, 540, 100, 100}));
}

} // namespace

} // namespace orvo::test
