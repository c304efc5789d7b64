#pragma once

#include "../ModelFixture.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/Media.h"

#include <QProcess>
#include <QSize>
#include <vector>

namespace orvo::test {

/// A window of one colour that fills the screen and redraws continuously.
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

    static void expectShown(const Frame& frame)
    {
        const auto colour = frame.mean(0.1, 0.1, 0.9, 0.9);
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
        startSilent();
    }

    void record()
    {
        model->startRecording();
        ASSERT_TRUE(comesToHold([&] { return !model->busy() || model->isRecording(); }));
        ASSERT_EQ(model->errorMessage(), "") << qPrintable(model->recorder()->capture()->sourceError());
    }

    /// The frames of the open project's screen, which is as long as the project.
    std::vector<Frame> frames(QSize size = {1280, 720})
    {
        EXPECT_EQ(project().state, ProjectState::ready);
        EXPECT_EQ(QSize(static_cast<int>(project().width), static_cast<int>(project().height)), size);
        const auto file = store.mediaURL(project(), "media/screen.mov");
        EXPECT_NEAR(probe(file).videoDuration, project().duration, 0.1);
        return decodeFrames(file);
    }
};

} // namespace orvo::test
