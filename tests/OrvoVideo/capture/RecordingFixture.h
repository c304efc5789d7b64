#pragma once

#include "OrvoVideo/capture/RecordingSession.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/PatternWindow.h"
#include "TestSupport/AudioWorld.h"
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

/// A display of 640×360 of its own, an empty library, and an engine that records.
class RecordingFixture : public testing::Test {
protected:
    RecordingFixture();

    /// A plan for this source without any sound.
    static RecordingSession::Plan planOf(const CaptureSource& source);

    std::unique_ptr<RecordingSession> start(const RecordingSession::Plan& plan);

    /// Records for so many seconds of the recording.
    RecordingSession::Result record(const RecordingSession::Plan& plan, double seconds);

    /// Waits until the recording is so long.
    static void waitFor(const RecordingSession& session, double seconds);

    /// What the session has told; empty while there is nothing.
    std::string error() const;

    /// What the session has told of microphone and camera, in the order of telling.
    std::vector<std::pair<TrackKind, bool>> devices() const;

    std::filesystem::path mediaOf(const VideoProject& project, TrackKind kind) const;

    /// The four colours of the pattern are in the corners of this part of the picture.
    static void expectCorners(const Frame& frame, const PatternWindow::Place& place);

    /// Every frame shows the time at which it is shown, less what it took from drawing to recording; nothing drifts.
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
