#pragma once

#include "OrvoVideo/capture/CaptureEngine.h"
#include "OrvoVideo/capture/RecordingSession.h"

#include <string>
#include <thread>

namespace orvo::cli {

/// A line on standard error with the recorded sources, the elapsed time and the microphone level. Disappears with the
/// object. Does nothing if standard error is not a terminal.
class RecordingLine {
public:
    RecordingLine(const std::string& label, const RecordingSession& recording, CaptureEngine& engine);
    ~RecordingLine();
    RecordingLine(const RecordingLine&) = delete;
    RecordingLine& operator=(const RecordingLine&) = delete;

private:
    void draw();

    std::string m_label;
    const RecordingSession& m_recording;
    CaptureEngine& m_engine;
    float m_level = 0;
    std::jthread m_drawing;
};

} // namespace orvo::cli
