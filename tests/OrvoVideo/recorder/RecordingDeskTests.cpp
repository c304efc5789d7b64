#include "../ModelFixture.h"
#include "OrvoVideo/recorder/RecordingDesk.h"
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
        desk = std::make_unique<RecordingDesk>(*model->recorder(), [this] { return wayBack; });
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
    ASSERT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 3; }));
    EXPECT_FALSE(window->window().isVisible());
    auto* countdown = windowCalled("Cuenta atrás");
    ASSERT_TRUE(countdown);
    EXPECT_LE((countdown->geometry().center() - QPoint(320, 400)).manhattanLength(), 4) << "on what will be recorded";

    ASSERT_TRUE(comesToHold([&] { return model->isRecording() && model->recorder()->time() > 1; }));
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
    ASSERT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 3; }));
    model->cancel();
    ASSERT_TRUE(comesToHold([&] { return !model->busy(); }));
    EXPECT_TRUE(window->window().isVisible());
    EXPECT_FALSE(windowCalled("Cuenta atrás"));
}

TEST_F(RecordingDeskTests, HidesEveryWindowAndRestoresItAsItWas)
{
    begin();
    QWindow settings; // As the settings and file panels are: of the main window, and with the keyboard.
    settings.setTitle("Ajustes");
    settings.setTransientParent(&window->window());
    settings.setGeometry(50, 60, 200, 200);
    QWindow panel;
    panel.setTitle("Panel");
    panel.setFlags(Qt::Dialog);
    panel.setTransientParent(&settings);
    panel.setGeometry(100, 300, 200, 200);
    for (auto* each : {&settings, &panel}) {
        each->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(each));
    }
    settings.requestActivate();
    ASSERT_TRUE(comesToHold([&] { return QGuiApplication::focusWindow() == &settings; }));

    for (const auto way : {RecordingDesk::WayBack::elsewhere, RecordingDesk::WayBack::windowOnly}) {
        wayBack = way;
        model->startRecording();
        ASSERT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 3; }));
        EXPECT_FALSE(settings.isVisible());
        EXPECT_FALSE(panel.isVisible());
        const bool minimized = way == RecordingDesk::WayBack::windowOnly;
        EXPECT_EQ(window->window().isVisible(), minimized);
        EXPECT_EQ(window->window().visibility() == QWindow::Minimized, minimized);
        model->cancel();
        ASSERT_TRUE(comesToHold([&] { return !model->busy(); }));
        EXPECT_TRUE(window->window().isVisible());
        EXPECT_EQ(settings.geometry(), QRect(50, 60, 200, 200));
        EXPECT_EQ(panel.geometry(), QRect(100, 300, 200, 200));
        EXPECT_TRUE(settings.isVisible() && panel.isVisible());
        EXPECT_TRUE(comesToHold([&] { return QGuiApplication::focusWindow() == &settings; })) << "the keyboard is there";
    }
}

TEST(RecordingMarkTests, StandsWhereNothingIsRecorded)
{
    const QRect screen(0, 0, 1920, 1080);
    const QSize mark(100, 40);
    struct Case {
        const char* what;
        QRect recorded;
        std::optional<QPoint> corner;
    };
    for (const auto& [what, recorded, corner] : {
             Case{"all of it", screen, std::nullopt},
             Case{"another display", {1920, 0, 1280, 1024}, QPoint(1908 - 100, 1068 - 40)},
             Case{"a part in the middle", {500, 300, 900, 500}, QPoint(1908 - 100, 1068 - 40)},
             Case{"a part in that corner", {960, 540, 960, 540}, QPoint(12, 1068 - 40)},
             Case{"the lower half", {0, 540, 1920, 540}, QPoint(1908 - 100, 12)},
             Case{"nothing that is known", {}, QPoint(1908 - 100, 1068 - 40)},
         }) {
        const auto place = RecordingDesk::freeCorner(recorded, screen, mark);
        EXPECT_EQ(place ? std::optional(place->topLeft()) : std::nullopt, corner) << what;
        if (place) {
            EXPECT_EQ(place->size(), mark) << what;
        }
    }
}

TEST(RecordingMarkTests, ComparesPixelsOnScaledScreens)
{
    const QSize mark(100, 40);
    // The monitor on the right has 1280×800 pixels from 640 on, which its windows see as 853×533.
    const QRect right = screenOf({640, 0, 1280, 800})->geometry();
    ASSERT_EQ(right, QRect(640, 0, 853, 533));
    struct Case {
        const char* what;
        Rect recorded; ///< Pixels.
        QRect expected;
    };
    for (const auto& [what, recorded, expected] : {
             Case{"the right corner below", {1500, 500, 420, 300}, QRect({652, 481}, mark)},
             Case{"the lower half", {640, 400, 1280, 400}, QRect({1381, 12}, mark)},
             Case{"all of the right", {640, 0, 1280, 800}, QRect({528, 748}, mark)},
             Case{"most on the left", {100, 0, 900, 700}, QRect({528, 748}, mark)},
         }) {
        const auto place = RecordingDesk::markPlace(recorded, mark);
        ASSERT_TRUE(place) << what;
        EXPECT_LE((place->topLeft() - expected.topLeft()).manhattanLength(), 2) << what;
    }
}

} // namespace

} // namespace orvo::test
