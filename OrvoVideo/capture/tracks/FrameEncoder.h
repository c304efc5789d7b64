#pragma once

// For .cpp files only.

#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "OrvoVideo/capture/screen/GraphicsFrame.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orvo {

/// A live H.264 encoder. Holds everything that differs from one machine to another.
struct FrameEncoder {
    enum class Kind : std::uint8_t { software, hardware };

    std::string name; ///< Name of the GStreamer element.
    std::string options; ///< The options that do not depend on the video.
    std::string bitRateOption; ///< In kbit/s.
    std::string keyFrameOption; ///< In frames.
    Kind kind = Kind::software;

    /// The path of frames in graphics memory to the encoder, without a copy to plain memory.
    struct Graphics {
        std::string fitter; ///< Launch line that scales and converts them.
        std::string memory; ///< The feature of the caps between the fitter and the encoder.
        std::vector<GraphicsFormat> formats = {}; ///< The formats that the fitter accepts.
    };
    Graphics graphics = {}; ///< Without formats, frames must be in plain memory.

    /// The launch line of the elements from frames in plain memory (I420) to H.264.
    std::string launchLine(std::int64_t bitRate, int keyFrameDistance) const;

    /// The launch line from frames in graphics memory, fitted into `size`.
    std::string graphicsLaunchLine(FrameSize size, std::int64_t bitRate, int keyFrameDistance) const;

    /// The first hardware encoder that passes a trial with frames of this size, else x264. Cached per size. Thread-safe.
    ///
    /// Blocks during the trials. Throws `captureError` when there is no encoder.
    static FrameEncoder find(FrameSize size, int fps);

    /// x264. The more pixels per second and core, the faster its preset.
    static FrameEncoder software(FrameSize size, int fps, int cores);

    /// x264 with its fastest preset.
    static FrameEncoder fastestSoftware();

    /// Excludes an encoder that failed during a recording from `find`, or only its graphics formats. Thread-safe.
    static void avoid(const FrameEncoder& encoder);
    static void avoidGraphics(const FrameEncoder& encoder);

    /// The first installed candidate that passes a trial with frames of this size. Blocks.
    static std::optional<FrameEncoder> firstThatWorks(std::span<const FrameEncoder> candidates, FrameSize size, int fps);
};

} // namespace orvo
