#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <vector>

/// The spans of a recording that a render keeps, and their fades. Pure functions.
namespace orvo::RenderGraph {

/// Length of the windows that divide the recording, in seconds. Frame rounding and pieces each depend on one window only,
/// so that an edit changes little.
inline constexpr std::int64_t windowSeconds = 10;

/// A span of the recording that the render keeps, and the fades at its ends. Seconds.
struct KeptSpan {
    TimeSpan span; ///< Aligned to output frames.
    double videoFade = 0; ///< From and to black, at both ends.
    double audioIn = 0; ///< From silence; a cut without a fade has a short one, so that it does not click.
    double audioOut = 0;

    friend bool operator==(const KeptSpan&, const KeptSpan&) = default;
};

/// The spans that "[vout]" and "[aout]" show at a frame rate, in order.
std::vector<KeptSpan> keptSpans(const VideoProject& project, std::int64_t fps);

/// Length of the fade from and to black of a clip of `length` seconds; 0 if it is the only one. Seconds.
double clipFade(const VideoProject& project, double length);

/// Length of the fade-in at the beginning of the render, in seconds.
double openingFade(const VideoProject& project);

} // namespace orvo::RenderGraph
