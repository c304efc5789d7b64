#pragma once

#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "VideoCore/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>

namespace orvo {

/// Options of a recording.
struct CaptureOptions {
    std::int64_t height = 1080; ///< Maximum height of the recorded screen, in pixels; larger ones are scaled down,
                                ///< smaller ones never up.
    std::int64_t fps = 30; ///< Maximum frame rate of the recorded screen.
    bool microphone = true;
    bool systemAudio = true; ///< The audio that the computer plays.
    bool camera = false;
    std::optional<Rect> region; ///< The part of the chosen display to record, in the global display space.
    std::string microphoneDevice; ///< Identifier of a device; empty for the default one.
    std::string systemAudioDevice;
    std::string cameraDevice;

    friend bool operator==(const CaptureOptions&, const CaptureOptions&) = default;
};

/// The frame size for an area of the global display space with `scale` pixels per unit: at most `height` high, even, at
/// least 2.
FrameSize captureSize(const Rect& area, double scale, std::int64_t height);

} // namespace orvo
