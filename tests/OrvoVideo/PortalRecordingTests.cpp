#include "DisplayRecordingFixture.h"
#include "TestSupport/AudioWorld.h"
#include "TestSupport/FakePortal.h"
#include "TestSupport/Media.h"
#include "TestSupport/PrivateBus.h"
#include "TestSupport/SharedScreen.h"

#include <QFile>

namespace orvo::test {

namespace {

using testing::IsEmpty;

/// Recordings of sources that the user chooses in the picker of the desktop.
class PortalRecordingTests : public DisplayRecordingFixture {
protected:
    PortalRecordingTests()
    {
        windowSystem = WindowSystem::wayland;
        screenCast = [this] { return std::make_unique<ScreenCast>(connection); };
    }

    PrivateBus bus;
    QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), "application " + bus.address());
};

TEST_F(PortalRecordingTests, AsksTheDesktopAndReportsItsAnswers)
{
    begin();
    auto& choice = *model->recorder()->capture();
    EXPECT_TRUE(choice.desktopChooses());
    model->startRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(choice.sourceError(), ScreenCast::unavailableText());
    EXPECT_EQ(model->errorMessage(), "Selecciona una pantalla o ventana disponible.");

    FakePortal portal(bus.address());
    QFile remote("/dev/null");
    ASSERT_TRUE(remote.open(QIODevice::ReadWrite));
    portal.remote = remote.handle();
    portal.cursorModes = 3;
    portal.decision = FakePortal::Decision::refuse;
    choice.choose();
    EXPECT_TRUE(comesToHold([&] { return choice.sourceError().startsWith("Activa el permiso"); }));

    portal.decision = FakePortal::Decision::grant;
    choice.choose();
    ASSERT_TRUE(comesToHold([&] { return choice.sources()->count() == 1; }));
    EXPECT_EQ(choice.sourceError(), "");
    EXPECT_EQ(choice.sourceID(), "d42");
    EXPECT_EQ(choice.sources()->get(0).value("label"), "Pantalla elegida · 1280×720");
    EXPECT_TRUE(choice.pointerNote().contains("no dice dónde está el puntero"));
    EXPECT_FALSE(portal.selection.contains("restore_token")) << "`choose` lets the user choose again";

    choice.setMode("window");
    EXPECT_EQ(choice.sources()->count(), 0) << "a display is no window";
    EXPECT_TRUE(comesToHold([&] { return portal.openSessions.isEmpty(); })) << "the display is no longer shared";
    choice.setMode("screen");
    portal.decision = FakePortal::Decision::refuse;
    model->startRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(portal.selection.value("restore_token"), "token-1") << "asks for the same source again";

    portal.decision = FakePortal::Decision::grant;
    choice.choose();
    ASSERT_TRUE(comesToHold([&] { return choice.sources()->count() == 1; }));
    portal.revoke();
    EXPECT_TRUE(comesToHold([&] { return choice.sources()->count() == 0; }));
    EXPECT_EQ(choice.sourceError(), ScreenCast::revokedText());
}

TEST_F(PortalRecordingTests, MeasuresAScaledScreen)
{
    const AudioWorld world; // Streams need its PipeWire.
    const SharedScreen screen({.width = 320, .height = 180});
    FakePortal portal(bus.address());
    portal.node = screen.node();
    portal.remote = SharedScreen::connection();
    portal.rect = {0, 0, 160, 90}; // In logical units of two by two pixels.
    begin();
    auto& choice = *model->recorder()->capture();
    choice.choose();
    ASSERT_TRUE(comesToHold([&] { return choice.sources()->count() == 1; }));
    const auto source = QCoro::waitFor(choice.sourceForRecording());
    ASSERT_TRUE(source);
    EXPECT_EQ(source->rect, (Rect{0, 0, 160, 90}));
    EXPECT_EQ(source->scale, 2);

    picker->region = Rect{80, 0, 80, 90}; // The blue half.
    choice.setMode("region");
    model->startRecording();
    ASSERT_TRUE(recordsSoon());
    ASSERT_TRUE(lasts(1));
    model->stopRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_EQ(project().width, 160);
    EXPECT_EQ(project().height, 180);
    const auto frames = decodeFrames(store.mediaURL(project(), "media/screen.mov"));
    ASSERT_FALSE(frames.empty());
    EXPECT_GT(frames.back().mean(0, 0, 1, 1).blue, 180);
    EXPECT_LT(frames.back().mean(0, 0, 1, 1).red, 60);
}

TEST_F(PortalRecordingTests, KeepsAllLinesWithFractionalScaling)
{
    const AudioWorld world;
    const SharedScreen screen({.width = 344, .height = 180});
    FakePortal portal(bus.address());
    portal.node = screen.node();
    portal.remote = SharedScreen::connection();
    portal.rect = {0, 0, 197, 103}; // At 175 %, in whole logical units.
    begin();
    model->recorder()->capture()->choose();
    const auto source = QCoro::waitFor(model->recorder()->capture()->sourceForRecording());
    ASSERT_TRUE(source);
    EXPECT_EQ(captureSize(source->rect, source->scale, 1080), (FrameSize{344, 180}));
    EXPECT_EQ(source->label, "Pantalla elegida · 344×180");
}

TEST_F(PortalRecordingTests, WithdrawsTheRequestToTheDesktopWhenCancelled)
{
    begin();
    FakePortal portal(bus.address());
    portal.decision = FakePortal::Decision::wait;
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return portal.waiting > 0; }));
    model->cancel();
    ASSERT_TRUE(idleSoon());
    EXPECT_TRUE(comesToHold([&] { return portal.openSessions.isEmpty(); }));
    EXPECT_EQ(model->status(), "Listo para grabar");
    EXPECT_EQ(model->errorMessage(), "");
    EXPECT_EQ(model->recorder()->capture()->sourceError(), "");
    EXPECT_THAT(store.list(), IsEmpty());
}

TEST_F(PortalRecordingTests, WithdrawsTheRequestToTheDesktopWhenQuitting)
{
    begin();
    FakePortal portal(bus.address());
    portal.decision = FakePortal::Decision::wait;
    model->startRecording();
    ASSERT_TRUE(comesToHold([&] { return !portal.selection.isEmpty(); }));
    quit();
    EXPECT_TRUE(comesToHold([&] { return portal.openSessions.isEmpty(); }));
    EXPECT_THAT(store.list(), IsEmpty());
}

} // namespace

} // namespace orvo::test
