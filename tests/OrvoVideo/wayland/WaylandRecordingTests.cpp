#include "../ModelFixture.h"
#include "MutterWindow.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/FakePortal.h"
#include "TestSupport/Media.h"
#include "TestSupport/SharedScreen.h"

#include <QProcess>
#include <QSize>
#include <csignal>
#include <optional>
#include <stdexcept>

namespace orvo::test {

namespace {

/// One colour over the whole of the screen, drawn again and again.
class Film {
public:
    Film()
    {
        m_program.setStandardOutputFile(QProcess::nullDevice());
        m_program.setStandardErrorFile(QProcess::nullDevice());
        m_program.start("gst-launch-1.0",
            {"-q", "videotestsrc", "is-live=true", "pattern=solid-color", "foreground-color=0xff205080", "!",
                "video/x-raw,width=1280,height=720,framerate=30/1", "!", "waylandsink"});
    }
    ~Film()
    {
        m_program.kill();
        m_program.waitForFinished();
    }
    Film(const Film&) = delete;
    Film& operator=(const Film&) = delete;

    static void expectShown(const Picture& picture)
    {
        const auto colour = picture.mean(0.1, 0.1, 0.9, 0.9);
        EXPECT_NEAR(colour.red, 0x20, 6);
        EXPECT_NEAR(colour.green, 0x50, 6);
        EXPECT_NEAR(colour.blue, 0x80, 6);
    }

private:
    QProcess m_program;
};

/// The model on a Wayland desktop with one screen of 1280×720, which its portal shares without asking.
class WaylandFixture : public ModelFixture {
protected:
    WaylandFixture()
    {
        windowSystem = orvo::windowSystem();
        screenCast = [] { return std::make_unique<ScreenCast>(); };
    }

    void begin()
    {
        ASSERT_EQ(windowSystem, WindowSystem::wayland);
        start();
        auto options = model->options();
        options.microphone = options.systemAudio = false;
        model->setOptions(options);
    }

    void record()
    {
        model->startRecording();
        ASSERT_TRUE(comesToHold([&] { return !model->busy() || model->isRecording(); }));
        ASSERT_EQ(model->errorMessage(), "") << qPrintable(model->capture()->sourceError());
    }

    /// Waits until the recording is this long.
    [[nodiscard]] bool lasts(double seconds)
    {
        return comesToHold([&] { return model->recorder()->time() >= seconds; });
    }

    [[nodiscard]] bool endsSoon()
    {
        return comesToHold([&] { return !model->busy() && !model->isRecording(); });
    }

    /// The frames of the open project's screen, which is as long as the project.
    std::vector<Picture> frames(QSize size = {1280, 720})
    {
        EXPECT_EQ(project().state, ProjectState::ready);
        EXPECT_EQ(QSize(static_cast<int>(project().width), static_cast<int>(project().height)), size);
        const auto file = store.mediaURL(project(), "media/screen.mov");
        EXPECT_NEAR(probe(file).videoDuration, project().duration, 0.1);
        return decodeFrames(file);
    }
};

class WaylandRecordingTests : public WaylandFixture { };

TEST_F(WaylandRecordingTests, RecordsWhatThePortalShares)
{
    const Film film;
    begin();
    for (int recording = 1; recording <= 2; ++recording) { // A second one shares anew.
        record();
        EXPECT_EQ(model->recorder()->captured()->source.label, "Pantalla elegida · 1280×720");
        ASSERT_TRUE(lasts(2));
        model->stopRecording();
        ASSERT_TRUE(endsSoon());
        ASSERT_EQ(model->errorMessage(), "");
        EXPECT_GE(project().duration, 2);
        const auto shown = frames();
        ASSERT_FALSE(shown.empty());
        Film::expectShown(shown.back());
    }
    EXPECT_TRUE(model->capture()->pointerNote().contains("clics"))
        << "this desktop tells no program of presses in others, and nor does the machine";
}

class WaylandEndTests : public WaylandFixture { };

TEST_F(WaylandEndTests, ARecordingEndsWithTheCompositorAndIsKept)
{
    const Film film;
    begin();
    record();
    ASSERT_TRUE(lasts(2));
    ASSERT_EQ(::kill(qEnvironmentVariableIntValue("COMPOSITOR"), SIGKILL), 0);
    ASSERT_TRUE(endsSoon());
    // The portal and the stream both tell.
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

TEST_F(GnomeRecordingTests, AWindowIsRecordedInItsOwnSize)
{
    constexpr QSize size(400, 300);
    QProcess shownProgram; // The window of a plain program, with one surface.
    shownProgram.setStandardOutputFile(QProcess::nullDevice());
    shownProgram.setStandardErrorFile(QProcess::nullDevice());
    shownProgram.start("mpv",
        {"--no-config", "--vo=wlshm", "--no-border", "--no-osc", "--loop", "--no-audio",
            "av://lavfi:color=0x205080:size=400x300:rate=10"});
    std::optional<MutterWindow> window;
    ASSERT_TRUE(comesToHold([&] { // There is no window to record until one has the keyboard.
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
    portal.rect = {0, 0, 1280, 720}; // What the portal of this desktop reports for a window as well.
    begin();
    model->capture()->setMode("window");
    record();
    EXPECT_EQ(model->recorder()->captured()->source.label, "Ventana elegida · 400×300");
    EXPECT_EQ(model->capture()->picture().size(), size);
    ASSERT_TRUE(lasts(2));
    model->stopRecording();
    ASSERT_TRUE(endsSoon());
    ASSERT_EQ(model->errorMessage(), "");
    const auto shown = frames(size);
    ASSERT_FALSE(shown.empty());
    Film::expectShown(shown.back());
    shownProgram.kill();
    shownProgram.waitForFinished();
}

} // namespace

} // namespace orvo::test
