#pragma once

#include "OrvoVideo/capture/RecordingSession.h"
#include "TestSupport/AudioWorld.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/PatternWindow.h"
#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/TimePattern.h"
#include "TestSupport/VirtualDisplay.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace orvo::test {

/// A private display of 640×360, an empty library, and a capture engine.
class RecordingFixture : public testing::Test {
protected:
    RecordingFixture();

    /// A plan for this source without audio.
    static RecordingSession::Plan planOf(const CaptureSource& source);

    std::unique_ptr<RecordingSession> start(const RecordingSession::Plan& plan);

    /// Records until the recording time reaches `seconds`.
    RecordingSession::Result record(const RecordingSession::Plan& plan, double seconds);

    /// Waits until the recording time reaches `seconds`.
    static void waitFor(const RecordingSession& session, double seconds);

    /// The error that the session reported, or empty.
    std::string error() const;

    /// The changes of microphone and camera that the session reported, in order.
    std::vector<std::pair<TrackKind, bool>> devices() const;

    std::filesystem::path mediaOf(const VideoProject& project, TrackKind kind) const;

    /// Expects the four colours of the pattern in the corners of this part of the frame.
    static void expectCorners(const Frame& frame, const PatternWindow::Place& place);

    /// Expects a constant delay between the time that each frame shows and its own time: no drift.
    static void expectEvenTime(const std::vector<TimePattern::TimedFrame>& frames);

    /// Runs a program to its end on the display.
    static bool run(const QString& program, const QStringList& arguments);

    VirtualDisplay display{"640x360"};
    TemporaryFolder folder;
    ProjectStore store{folder / "library"};

private:
    mutable std::mutex m_mutex;
    std::string m_error;
    std::vector<std::pair<TrackKind, bool>> m_devices;

protected:
    std::unique_ptr<CaptureEngine> engine;
};

} // namespace orvo::test
