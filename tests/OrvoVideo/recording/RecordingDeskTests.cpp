#include "../ModelFixture.h"
#include "OrvoVideo/recording/RecordingDesk.h"
#include "OrvoVideo/shell/MainWindow.h"
#include "TestDesktop.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/Media.h"

#include <QPixmap>
#include <QScreen>
#include <QTest>

namespace orvo::test {

namespace {

/// The application's windows around a recording of the monitor on the left.
class RecordingDeskTests : public ModelFixture {
protected:
    RecordingDeskTests() { windowSystem = WindowSystem::x11; }

    void begin()
    {
        start();
        auto options = model->options();
        options.microphone = options.systemAudio = false;
        model->setOptions(options);
        window = std::make_unique<MainWindow>(*model);
        desk = std::make_unique<RecordingDesk>(*model, [this] { return wayBack; });
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window->window()));
        model->capture()->loadSources();
        ASSERT_TRUE(comesToHold([&] { return model->capture()->sources()->count() == 2; }));
        // The one on the left, whatever their order.
        const int row = model->capture()->sources()->get(0).value("rect").toRectF().x() == 0 ? 0 : 1;
        model->capture()->setSourceID(model->capture()->sources()->get(row).value("sourceId").toString());
    }
    void TearDown() override
    {
        desk.reset();
        window.reset();
        model.reset();
    }

    static QWindow* windowCalled(const QString& title)
    {
        for (auto* candidate : QGuiApplication::topLevelWindows()) {
            if (candidate->title() == title && candidate->isVisible())
                return candidate;
        }
        return nullptr;
    }

    RecordingDesk::WayBack wayBack = RecordingDesk::WayBack::elsewhere;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<RecordingDesk> desk;
};

TEST_F(RecordingDeskTests, OurWindowsAreAwayWhileADisplayIsRecordedAndComeBack)
{
    begin();
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return model->countdown() == 3; }));
    EXPECT_FALSE(window->window().isVisible());
    auto* countdown = windowCalled("Cuenta atrás");
    ASSERT_TRUE(countdown);
    EXPECT_LE((countdown->geometry().center() - QPoint(320, 400)).manhattanLength(), 4) << "on what will be recorded";

    ASSERT_TRUE(comesToHold([&] { return model->isRecording() && model->recordingTime() > 1; }));
    EXPECT_FALSE(windowCalled("Cuenta atrás"));
    auto* mark = windowCalled("Grabando");
    ASSERT_TRUE(mark) << "on the other monitor";
    EXPECT_EQ(mark->screen(), screenOf({640, 0, 1280, 800}));
    EXPECT_FALSE(window->window().isVisible());

    model->stopRecording();
    ASSERT_TRUE(comesToHold([&] { return !model->capturing() && !model->busy(); }));
    EXPECT_TRUE(window->window().isVisible());
    EXPECT_FALSE(windowCalled("Grabando"));

    // The display is black: whatever of ours had been on it would be seen.
    for (const auto& frame : decodeFrames(store.mediaURL(project(), "media/screen.mov")))
        ASSERT_LT(frame.mean(0, 0, 1, 1).brightness(), 3);
}

TEST_F(RecordingDeskTests, AFailedStartBringsTheWindowsBack)
{
    begin();
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return model->countdown() == 3; }));
    model->cancel();
    ASSERT_TRUE(comesToHold([&] { return !model->busy(); }));
    EXPECT_TRUE(window->window().isVisible());
    EXPECT_FALSE(windowCalled("Cuenta atrás"));
}

TEST(RecordingMarkTests, StandsWhereNothingIsRecorded)
{
    const QRect screen(0, 0, 1920, 1080);
    const QRect second(1920, 0, 1280, 1024);
    const QSize mark(100, 40);
    struct Case {
        const char* what;
        QRect recorded;
        std::vector<QRect> screens;
        std::optional<QPoint> corner;
    };
    for (const auto& [what, recorded, screens, corner] : {
             Case{"the only display", screen, {screen}, std::nullopt},
             Case{"one of two displays", screen, {screen, second}, QPoint(3188 - 100, 1012 - 40)},
             Case{"a part in the middle", {500, 300, 900, 500}, {screen}, QPoint(1908 - 100, 1068 - 40)},
             Case{"a part in that corner", {960, 540, 960, 540}, {screen}, QPoint(12, 1068 - 40)},
             Case{"the lower half", {0, 540, 1920, 540}, {screen}, QPoint(1908 - 100, 12)},
             Case{"nothing that is known", {}, {screen}, QPoint(1908 - 100, 1068 - 40)},
         }) {
        const auto place = RecordingDesk::freeCorner(recorded, screens, mark);
        EXPECT_EQ(place ? std::optional(place->topLeft()) : std::nullopt, corner) << what;
        if (place) {
            EXPECT_EQ(place->size(), mark) << what;
        }
    }
}

} // namespace

} // namespace orvo::test
