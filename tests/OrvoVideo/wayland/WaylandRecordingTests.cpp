#include "MutterWindow.h"
#include "TestSupport/FakePortal.h"
#include "TestSupport/SharedScreen.h"
#include "WaylandFixture.h"

#include <QProcess>
#include <QSize>
#include <csignal>
#include <optional>
#include <stdexcept>

namespace orvo::test {

namespace {

class WaylandRecordingTests : public WaylandFixture { };

TEST_F(WaylandRecordingTests, RecordsWhatThePortalShares)
{
    const Film film;
    begin();
    for (int recording = 1; recording <= 2; ++recording) { // The second one requests a new share.
        record();
        EXPECT_EQ(model->recorder()->captured()->source.label, "Pantalla elegida · 1280×720");
        ASSERT_TRUE(lasts(2));
        model->stopRecording();
        ASSERT_TRUE(idleSoon());
        ASSERT_EQ(model->errorMessage(), "");
        EXPECT_GE(project().duration, 2);
        const auto shown = frames();
        ASSERT_FALSE(shown.empty());
        Film::expectShown(shown.back());
    }
    EXPECT_TRUE(model->recorder()->capture()->pointerNote().contains("clics"))
        << "neither the desktop nor the input devices report presses in other programs";
}

class WaylandEndTests : public WaylandFixture { };

TEST_F(WaylandEndTests, KeepsTheRecordingWhenTheCompositorEnds)
{
    const Film film;
    begin();
    record();
    ASSERT_TRUE(lasts(2));
    ASSERT_EQ(::kill(qEnvironmentVariableIntValue("COMPOSITOR"), SIGKILL), 0);
    ASSERT_TRUE(idleSoon());
    // The portal and the stream both report the end.
    EXPECT_TRUE(model->errorMessage().startsWith("El escritorio ha dejado de compartir"))
        << qPrintable(model->errorMessage());
    EXPECT_EQ(model->status(), "Grabación guardada");
    const auto shown = frames();
    ASSERT_FALSE(shown.empty());
    EXPECT_GE(project().duration, 2);
    Film::expectShown(shown.back());
}

/// On GNOME's compositor, whose windows come in frames as large as the monitor.
class GnomeRecordingTests : public WaylandFixture { };

TEST_F(GnomeRecordingTests, RecordsAWindowInItsOwnSize)
{
    constexpr QSize size(400, 300);
    QProcess shownProgram; // The window of a plain program, with one surface.
    shownProgram.setStandardOutputFile(QProcess::nullDevice());
    shownProgram.setStandardErrorFile(QProcess::nullDevice());
    shownProgram.start("mpv",
        {"--no-config", "--vo=wlshm", "--no-border", "--no-osc", "--loop", "--no-audio",
            "av://lavfi:color=0x205080:size=400x300:rate=10"});
    std::optional<MutterWindow> window;
    ASSERT_TRUE(comesToHold([&] { // Fails until a window has the focus.
        try {
            window.emplace();
        } catch (const std::runtime_error&) {
            return false;
        }
        return true;
    }));
    ASSERT_TRUE(comesToHold([&] { return window->node() != 0; }));
    FakePortal portal(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"));
    portal.node = window->node();
    portal.remote = SharedScreen::connection();
    portal.sourceType = 2;
    portal.rect = {0, 0, 1280, 720}; // This desktop's portal reports the screen for a window as well.
    begin();
    model->recorder()->capture()->setMode("window");
    record();
    EXPECT_EQ(model->recorder()->captured()->source.label, "Ventana elegida · 400×300");
    EXPECT_EQ(model->recorder()->capture()->remembered(), "Ventana elegida · 400×300")
        << "the next recording shares the window again";
    EXPECT_EQ(model->recorder()->capture()->frame().size(), size);
    ASSERT_TRUE(lasts(2));
    model->stopRecording();
    ASSERT_TRUE(idleSoon());
    ASSERT_EQ(model->errorMessage(), "");
    const auto shown = frames(size);
    ASSERT_FALSE(shown.empty());
    Film::expectShown(shown.back());
    shownProgram.kill();
    shownProgram.waitForFinished();
}

} // namespace

} // namespace orvo::test
