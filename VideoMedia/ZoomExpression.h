#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <span>
#include <string>

namespace orvo {

/// The zoom points of a project as ffmpeg expressions of the output frame number "on".
struct ZoomExpression {
    std::string zoom; ///< Magnification, 1 outside every zoom point.
    std::string x; ///< Centre of the visible area, in input pixels.
    std::string y;

    /// `zooms` in ascending time order; if two overlap, the later one applies. `duration` is that of the recording,
    /// in seconds.
    ///
    /// Each zoom point ramps to its magnification and back within a quarter of a second at its ends. `first` is the frame of
    /// the recording that the first frame of the filter shows.
    static ZoomExpression make(
        std::span<const PointerEvent> zooms, double duration, std::int64_t fps, std::int64_t first = 0);
};

} // namespace orvo
