#pragma once

// Included by .cpp files only.

#include "OrvoVideo/capture/screen/CapturedPicture.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace orvo {

/// The part of a pipeline that encodes H.264 while pictures come: all that differs from one machine to another.
struct PictureEncoder {
    std::string name; ///< Of the GStreamer element.
    std::string options; ///< Those that do not depend on the picture.
    std::string bitRateOption; ///< Takes thousands of bits a second.
    std::string keyFrameOption; ///< Takes pictures.

    /// The elements from raw pictures to H.264, as in a launch line.
    std::string launchLine(std::int64_t bitRate, int keyFrameDistance) const;

    /// The first of the hardware encoders that encodes pictures of this size when tried, else x264. Found once for each size
    /// and kept. Any thread.
    ///
    /// Blocks for as long as the trials take. Throws `captureError` when there is none at all.
    static PictureEncoder find(PictureSize size, int fps);

    /// The first of these that is installed and encodes pictures of this size when tried. Blocks.
    static std::optional<PictureEncoder> firstThatWorks(
        std::span<const PictureEncoder> candidates, PictureSize size, int fps);
};

} // namespace orvo
