#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <vector>

/// What a render keeps of the recording, and its fades. Pure functions.
namespace orvo::RenderGraph {

/// A stretch of the recording that the render keeps, and how long it fades at its ends; all in seconds.
struct KeptSpan {
    TimeSpan span; ///< On the frames of the output.
    double pictureFade = 0; ///< From and to black, at both ends.
    double soundIn = 0; ///< From silence; short where there is a cut without a fade, so that it does not click.
    double soundOut = 0;

    friend bool operator==(const KeptSpan&, const KeptSpan&) = default;
};

/// What "[vout]" and "[aout]" show of the recording at a frame rate, in order.
std::vector<KeptSpan> keptSpans(const VideoProject& project, std::int64_t fps);

/// How long a clip of `length` seconds fades from and to black by itself, in seconds: 0 unless there are several.
double clipFade(const VideoProject& project, double length);

/// How long the render fades in at its beginning, in seconds.
double openingFade(const VideoProject& project);

} // namespace orvo::RenderGraph
