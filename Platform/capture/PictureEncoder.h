#pragma once

// Included by .cpp files only.

#include "Platform/capture/CapturedPicture.h"

#include <cstdint>
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

    /// The first of the hardware encoders that encodes when tried, else x264. Found once and kept.
    ///
    /// Blocks for as long as the trials take. Throws `captureError` when there is none at all.
    static const PictureEncoder& find();
};

} // namespace orvo
