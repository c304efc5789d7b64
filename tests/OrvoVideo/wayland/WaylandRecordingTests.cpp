#include "../ModelFixture.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/Media.h"

#include <QSettings>
#include <algorithm>

namespace orvo::test {

namespace {

/// The model on a Wayland desktop with one screen of 1280×720 in one colour, which its portal shares without asking.
class WaylandRecordingTests : public ModelFixture {
protected:
    WaylandRecordingTests()
    {
        QSettings().clear();
        windowSystem = orvo::windowSystem();
        screenCast = [] { return std::make_unique<ScreenCast>(); };
    }
};

TEST_F(WaylandRecordingTests, RecordsWhatThePortalShares)
{
    ASSERT_EQ(windowSystem, WindowSystem::wayland);
    start();
    auto options = model->options();
    options.microphone = options.systemAudio = false;
    model->setOptions(options);

    for (int recording = 1; recording <= 2; ++recording) { // A second one shares anew.
        model->startRecording();
        ASSERT_TRUE(comesToHold([&] { return !model->busy() || model->isRecording(); }));
        ASSERT_EQ(model->errorMessage(), "");
        EXPECT_EQ(model->captured()->source.label, "Pantalla elegida · 1280×720");
        ASSERT_TRUE(comesToHold([&] { return model->recordingTime() >= 2; }));
        model->stopRecording();
        ASSERT_TRUE(comesToHold([&] { return !model->busy() && !model->isRecording(); }));
        ASSERT_EQ(model->errorMessage(), "");
        EXPECT_EQ(project().width, 1280);
        EXPECT_EQ(project().height, 720);
        EXPECT_GE(project().duration, 2);
        const auto file = store.mediaURL(project(), "media/screen.mov");
        EXPECT_NEAR(probe(file).videoDuration, project().duration, 0.5);
        const auto frames = decodeFrames(file);
        ASSERT_FALSE(frames.empty());
        const auto colour = frames.back().mean(0.1, 0.1, 0.9, 0.9);
        EXPECT_NEAR(colour.red, 0x20, 6);
        EXPECT_NEAR(colour.green, 0x50, 6);
        EXPECT_NEAR(colour.blue, 0x80, 6);
    }
    EXPECT_TRUE(model->capture()->pointerNote().contains("clics"))
        << "this desktop tells no program of presses in others, and nor does the machine";
}

} // namespace

} // namespace orvo::test
