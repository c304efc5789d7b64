#pragma once

// For .cpp files only.

#include "OrvoVideo/capture/screen/CapturedPicture.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace orvo {

/// A live H.264 encoder. Holds everything that differs from one machine to another.
struct PictureEncoder {
    enum class Kind : std::uint8_t { software, hardware };

    std::string name; ///< Of the GStreamer element.
    std::string options; ///< The options that do not depend on the video.
    std::string bitRateOption; ///< In kbit/s.
    std::string keyFrameOption; ///< In frames.
    Kind kind = Kind::software;

    /// The launch line of the elements from raw video to H.264.
    std::string launchLine(std::int64_t bitRate, int keyFrameDistance) const;

    /// The first hardware encoder that passes a trial with frames of this size, else x264. Cached per size. Thread-safe.
    ///
    /// Blocks during the trials. Throws `captureError` when there is no encoder.
    static PictureEncoder find(PictureSize size, int fps);

    /// x264, with a faster preset the more pixels each of `cores` has to encode in a second.
    static PictureEncoder software(PictureSize size, int fps, int cores);

    /// Has `find` leave out an encoder that failed while it recorded. Thread-safe.
    static void avoid(const PictureEncoder& encoder);

    /// The first installed candidate that passes a trial with frames of this size. Blocks.
    static std::optional<PictureEncoder> firstThatWorks(
        std::span<const PictureEncoder> candidates, PictureSize size, int fps);
};

} // namespace orvo
