#pragma once

#include "OrvoVideo/capture/screen/CapturedPicture.h"
#include "VideoCore/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>

namespace orvo {

/// How the next recording is made.
struct CaptureOptions {
    std::int64_t height = 1080; ///< Largest height of the recorded screen, in pixels; it is scaled down to it, never up.
    std::int64_t fps = 30; ///< Highest frame rate of the recorded screen.
    bool microphone = true;
    bool systemAudio = true; ///< What the computer plays.
    bool camera = false;
    std::optional<Rect> region; ///< The part of the chosen display to record, in the global display space.
    std::string microphoneDevice; ///< Identifier of a device; empty for the default one.
    std::string systemAudioDevice;
    std::string cameraDevice;

    friend bool operator==(const CaptureOptions&, const CaptureOptions&) = default;
};

/// The size of the recorded picture of an area of the global display space with `scale` pixels to its unit: at most as high
/// as `height`, in even numbers, at least 2.
PictureSize captureSize(const Rect& area, double scale, std::int64_t height);

} // namespace orvo
