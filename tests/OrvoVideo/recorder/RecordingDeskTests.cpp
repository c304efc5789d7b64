#include "../ModelFixture.h"
#include "OrvoVideo/recorder/RecordingDesk.h"
#include "OrvoVideo/recorder/RecordingNotice.h"
#include "OrvoVideo/shell/MainWindow.h"
#include "TestDesktop.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/FakeNotifications.h"
#include "TestSupport/Media.h"

#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTest>
#include <algorithm>

namespace orvo::test {

namespace {

/// The application's windows around a recording of the monitor on the left.
class RecordingDeskTests : public ModelFixture {
protected:
    RecordingDeskTests() { windowSystem = WindowSystem::x11; }

    void begin()
    {
        startSilent();
        window = std::make_unique<MainWindow>(*model);
        desk = std::make_unique<RecordingDesk>(*model->recorder(), [this] { return wayBack; });
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window->window()));
        model->recorder()->capture()->loadSources();
        ASSERT_TRUE(comesToHold([&] { return model->recorder()->capture()->sources()->count() == 2; }));
        // Selects the left one, whatever their order.
        const int row = model->recorder()->capture()->sources()->get(0).value("rect").toRectF().x() == 0 ? 0 : 1;
        model->recorder()->capture()->setSourceID(
            model->recorder()->capture()->sources()->get(row).value("sourceId").toString());
    }
    void TearDown() override
    {
        desk.reset();
        window.reset();
        model.reset();
    }

    /// Starts a recording and waits until its bar can be used.
    void record()
    {
        model->startRecording();
        ASSERT_TRUE(comesToHold([&] {
            return model->isRecording() && !model->busy() && model->recorder()->time() > 0.5
                && windowCalled("Grabando") != nullptr;
        }));
    }

    /// Presses a button of the bar as soon as it is enabled.
    static void press(const char* name)
    {
        QQuickItem* button = nullptr;
        ASSERT_TRUE(comesToHold([&] {
            auto* bar = qobject_cast<QQuickView*>(windowCalled("Grabando"));
            button = bar ? bar->rootObject()->findChild<QQuickItem*>(name) : nullptr;
            return button && button->isVisible() && button->isEnabled() && button->width() > 0;
        })) << name;
        QTest::mouseClick(
            button->window(), Qt::LeftButton, {}, button->mapToScene({button->width() / 2, button->height() / 2}).toPoint());
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

TEST_F(RecordingDeskTests, HidesOurWindowsWhileADisplayIsRecorded)
{
    begin();
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 3; }));
    EXPECT_FALSE(window->window().isVisible());
    auto* countdown = windowCalled("Cuenta atrás");
    ASSERT_TRUE(countdown);
    EXPECT_LE((countdown->geometry().center() - QPoint(320, 400)).manhattanLength(), 4) << "on the monitor to record";

    ASSERT_TRUE(comesToHold([&] { return model->isRecording() && model->recorder()->time() > 1; }));
    EXPECT_FALSE(windowCalled("Cuenta atrás"));
    ASSERT_TRUE(comesToHold([] { return windowCalled("Grabando") != nullptr; }));
    auto* bar = windowCalled("Grabando");
    EXPECT_EQ(bar->screen(), screenOf({640, 0, 1280, 800})) << "on the other monitor";
    EXPECT_EQ(bar->size(), RecordingDesk::barSize);
    EXPECT_FALSE(window->window().isVisible());

    model->stopRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_TRUE(window->window().isVisible());
    EXPECT_FALSE(windowCalled("Grabando"));

    // The display is black, so that any of our windows would show.
    for (const auto& frame : decodeFrames(store.mediaURL(project(), "media/screen.mov")))
        ASSERT_LT(frame.mean(0, 0, 1, 1).brightness(), 3);
}

TEST_F(RecordingDeskTests, ControlsTheRecordingFromTheBar)
{
    begin();
    ASSERT_NO_FATAL_FAILURE(record());
    press("barPause");
    EXPECT_TRUE(comesToHold([&] { return model->isPaused(); }));
    press("barPause");
    EXPECT_TRUE(comesToHold([&] { return model->isRecording() && !model->isPaused(); }));
    press("barZoom");

    window->bringToFront();
    window->window().requestActivate();
    EXPECT_TRUE(comesToHold([&] { return windowCalled("Grabando") == nullptr; }));
    window->window().hide();
    EXPECT_TRUE(comesToHold([&] { return windowCalled("Grabando") != nullptr; }));

    press("barStop");
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(project().edit.cuts.size(), 1U) << "the pause";
    EXPECT_TRUE(std::ranges::contains(project().edit.events, PointerKind::zoom, &PointerEvent::kind));
}

TEST_F(RecordingDeskTests, MovesADiscardedRecordingToTheTrashAfterConfirmation)
{
    const auto before = openNew(5, "Antes");
    begin();
    select(before);
    ASSERT_NO_FATAL_FAILURE(record());
    const auto recorded = store.directory(project().id);
    press("barMore");
    press("barDiscard");
    press("barKeep");
    EXPECT_TRUE(model->isRecording()) << "discarding needs confirmation";
    press("barMore");
    press("barDiscard");
    press("barConfirm");
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(model->errorMessage(), "");
    EXPECT_FALSE(std::filesystem::exists(recorded));
    const auto inTrash = testData() / "Trash/files" / recorded.filename();
    EXPECT_TRUE(std::filesystem::exists(inTrash / "media/screen.mov"));
    EXPECT_TRUE(comesToHold([&] { return model->hasProject() && project().id == before.id; }))
        << "the previous project is open again";
    EXPECT_TRUE(comesToHold([&] { return model->projects().size() == 1; }));
    EXPECT_TRUE(window->window().isVisible());
}

TEST_F(RecordingDeskTests, RetakesTheSameRegion)
{
    begin();
    model->recorder()->capture()->setMode("region");
    picker->region = Rect{100, 100, 200, 160};
    ASSERT_NO_FATAL_FAILURE(record());
    const auto first = project().id;
    press("barMore");
    press("barRetake");
    press("barConfirm");
    ASSERT_TRUE(comesToHold([&] { return model->isRecording() && model->hasProject() && project().id != first; }));
    EXPECT_EQ(picker->asked.size(), 1U) << "the region is not picked again";
    EXPECT_EQ(model->recorder()->captured()->area, *picker->region);
    ASSERT_TRUE(comesToHold([&] { return model->recorder()->time() > 0.5; }));
    press("barStop");
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(project().width, 200);
    EXPECT_FALSE(std::filesystem::exists(store.directory(first)));
}

TEST_F(RecordingDeskTests, KeepsTheNotesOutOfTheRecording)
{
    begin();
    QMetaObject::invokeMethod(&window->window(), "openNotes");
    ASSERT_TRUE(comesToHold([] { return windowCalled("Notas") != nullptr; }));
    auto* notes = windowCalled("Notas");
    notes->setFramePosition({20, 20});
    ASSERT_TRUE(comesToHold([&] { return notes->framePosition() == QPoint(20, 20); }));
    ASSERT_NO_FATAL_FAILURE(record());
    EXPECT_TRUE(notes->isVisible());
    const auto* bar = windowCalled("Grabando");
    ASSERT_TRUE(bar);
    EXPECT_TRUE(comesToHold([&] {
        return notes->screen() == screenOf({640, 0, 1280, 800}) && !notes->frameGeometry().intersects(bar->geometry());
    })) << "beside the bar, on the other monitor";
    model->stopRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_TRUE(comesToHold([&] { return notes->framePosition() == QPoint(20, 20); })) << "back where they were";
    for (const auto& frame : decodeFrames(store.mediaURL(project(), "media/screen.mov")))
        ASSERT_LT(frame.mean(0, 0, 1, 1).brightness(), 3);
}

TEST_F(RecordingDeskTests, ShowsTheKeysInANotificationWhenTheBarHasNoRoom)
{
    FakeNotifications notifications(testBus());
    begin();
    const RecordingNotice notice(*model->recorder(), *model->shortcuts(), *desk);
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 3; }));
    EXPECT_EQ(notifications.title, "") << "there is a bar on the other monitor";
    model->cancel();
    ASSERT_TRUE(comesToHold([&] { return !model->busy(); }));

    // A region over both monitors leaves no room.
    model->recorder()->capture()->setMode("region");
    picker->region = Rect{0, 0, 1920, 800};
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return notifications.title == "Se graba todo lo que se ve"; }));
    EXPECT_TRUE(notifications.text.startsWith("Ctrl+Alt+Super+R: terminar y guardar")) << notifications.text.toStdString();
    EXPECT_TRUE(notifications.actions.isEmpty());
    ASSERT_TRUE(comesToHold([&] { return model->isRecording(); }));
    EXPECT_TRUE(comesToHold([&] { return notifications.title.isEmpty(); })) << "it would be recorded";
    EXPECT_FALSE(windowCalled("Grabando"));
    model->stopRecording();
    ASSERT_TRUE(idleSoon());
}

TEST_F(RecordingDeskTests, HidesAndRestoresEveryWindow)
{
    begin();
    QWindow settings; // Like the settings and file panels: transient for the main window, and focused.
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
        EXPECT_FALSE(windowCalled("Cuenta atrás"));
        EXPECT_TRUE(window->window().isVisible());
        EXPECT_EQ(settings.geometry(), QRect(50, 60, 200, 200));
        EXPECT_EQ(panel.geometry(), QRect(100, 300, 200, 200));
        EXPECT_TRUE(settings.isVisible() && panel.isVisible());
        EXPECT_TRUE(comesToHold([&] { return QGuiApplication::focusWindow() == &settings; })) << "it has the focus again";
    }
}

TEST(RecordingBarPlaceTests, PlacesTheBarOutsideTheRecordedArea)
{
    const QRect screen(0, 0, 1920, 1080);
    const QSize mark(100, 40);
    struct Case {
        const char* what;
        QRect recorded;
        std::optional<QPoint> corner;
    };
    for (const auto& [what, recorded, corner] : {
             Case{"the whole screen", screen, std::nullopt},
             Case{"another display", {1920, 0, 1280, 1024}, QPoint(1908 - 100, 1068 - 40)},
             Case{"a part in the middle", {500, 300, 900, 500}, QPoint(1908 - 100, 1068 - 40)},
             Case{"the lower right quarter", {960, 540, 960, 540}, QPoint(12, 1068 - 40)},
             Case{"the lower half", {0, 540, 1920, 540}, QPoint(1908 - 100, 12)},
             Case{"an unknown area", {}, QPoint(1908 - 100, 1068 - 40)},
         }) {
        const auto place = RecordingDesk::freeCorner(recorded, screen, mark);
        EXPECT_EQ(place ? std::optional(place->topLeft()) : std::nullopt, corner) << what;
        if (place) {
            EXPECT_EQ(place->size(), mark) << what;
        }
    }
}

TEST(RecordingBarPlaceTests, ComparesPixelsOnScaledScreens)
{
    const QSize mark(100, 40);
    // The right monitor starts at 640 and has 1280×800 pixels, which are 853×533 units.
    const QRect right = screenOf({640, 0, 1280, 800})->geometry();
    ASSERT_EQ(right, QRect(640, 0, 853, 533));
    struct Case {
        const char* what;
        Rect recorded; ///< Pixels.
        QRect expected;
    };
    for (const auto& [what, recorded, expected] : {
             Case{"the lower right corner", {1500, 500, 420, 300}, QRect({652, 481}, mark)},
             Case{"the lower half", {640, 400, 1280, 400}, QRect({1381, 12}, mark)},
             Case{"the whole right monitor", {640, 0, 1280, 800}, QRect({528, 748}, mark)},
             Case{"mostly the left monitor", {100, 0, 900, 700}, QRect({528, 748}, mark)},
         }) {
        const auto place = RecordingDesk::freePlace(recorded, mark);
        ASSERT_TRUE(place) << what;
        EXPECT_LE((place->topLeft() - expected.topLeft()).manhattanLength(), 2) << what;
    }
}

} // namespace

} // namespace orvo::test
