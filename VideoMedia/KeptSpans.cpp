#include "VideoMedia/KeptSpans.h"

#include "VideoCore/Timeline.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/RenderGraph.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace orvo::RenderGraph {

namespace {

constexpr double maxFadeShare = 3; ///< A fade takes at most one in this many parts of its span.
constexpr double minStart = 1e-4; ///< Seconds; an earlier span begins with the recording.

/// The fades of a kept span, in seconds.
struct Fades {
    double video = 0; ///< At both ends.
    double audioIn = 0;
    double audioOut = 0;
};

/// The fades of a span. Audio without a fade gets a short ramp, so that cuts do not click.
Fades fadesOf(const VideoProject& project, const TimeSpan& span)
{
    constexpr double minRamp = 0.01;
    const double maxFade = std::max(project.edit.fade, 0.0);
    const double length = span.end - span.start;
    const auto within = [&](double fade) { return length < 0 ? fade : std::min(length / maxFadeShare, fade); };
    const double ramp = within(std::max(maxFade, minRamp));
    const double frame = project.fps > 0 ? 1 / static_cast<double>(project.fps) : 0.1;
    return {.video = within(maxFade),
        .audioIn = span.start > 0 ? ramp : within(maxFade),
        .audioOut = span.end < project.duration - frame ? ramp : within(maxFade)};
}

/// The kept spans on the frame grid of the output.
///
/// Video can only be cut between frames. Cutting the audio at the same places keeps them in sync.
///
/// Within a window of the recording, each joint falls on the output frame nearest to its time after the window's first
/// joint. The next window starts afresh, so that an edit moves no joint of another window and cached pieces stay valid.
/// Rounding errors add up over the windows: a window that begins more than `tolerance` frames early or late compensates one
/// of them, and the last window ends on the frame nearest to the exact length, however many cuts there are.
///
/// A span that is already on the grid stays unchanged.
std::vector<TimeSpan> frameAligned(std::span<const TimeSpan> kept, std::int64_t fps)
{
    constexpr double tolerance = 1; // Frames. With half a frame inside a window, no joint is two frames off.
    const auto rate = static_cast<double>(fps);
    const auto frameAt = [&](double time) { return truncated(std::round(time * rate)); };
    const auto timeOf = [&](std::int64_t frame, double exact) {
        const double time = static_cast<double>(frame) / rate;
        return std::abs(time - exact) < 1e-6 && exact >= minStart ? exact : time;
    };
    const auto windowOf = [&](const TimeSpan& span) { return (frameAt(span.end) - 1) / (windowSeconds * fps); };
    std::vector<TimeSpan> result;
    double exactLength = 0;
    std::int64_t length = 0; // Output frames so far.
    std::int64_t last = 0; // The source frame at which the previous span ends.
    std::int64_t window = -1; // The one in which the previous span ends.
    double windowLength = 0; // Exact.
    std::int64_t windowStart = 0; // Output frame.
    for (const auto& span : kept) {
        if (windowOf(span) != window) {
            window = windowOf(span);
            windowStart = length;
            windowLength = 0;
            const double late = exactLength * rate - static_cast<double>(length);
            if (std::abs(late) > tolerance)
                windowStart += late > 0 ? 1 : -1;
            if (window == windowOf(kept.back())) {
                windowStart = 0;
                windowLength = exactLength;
            }
        }
        exactLength += span.duration();
        windowLength += span.duration();
        const std::int64_t count = windowStart + frameAt(windowLength) - length;
        if (count <= 0)
            continue;
        const std::int64_t first = std::max(frameAt(span.start), last);
        last = first + count;
        length += count;
        result.push_back({timeOf(first, span.start), timeOf(last, span.end)});
    }
    if (result.empty() && !kept.empty())
        result.push_back({kept.front().start, kept.front().start + 1 / rate});
    return result;
}

} // namespace

std::vector<KeptSpan> keptSpans(const VideoProject& project, std::int64_t fps)
{
    std::vector<KeptSpan> result;
    for (const auto& span :
        frameAligned(Timeline::kept(project.duration, project.edit.cuts), std::max<std::int64_t>(fps, 1))) {
        const Fades fades = fadesOf(project, span);
        result.push_back({.span = span, .videoFade = fades.video, .audioIn = fades.audioIn, .audioOut = fades.audioOut});
    }
    return result;
}

double clipFade(const VideoProject& project, double length)
{
    if (std::ranges::count_if(project.tracks, isVisibleVideo) < 2)
        return 0;
    return std::min(std::max(project.edit.fade, 0.0), length / maxFadeShare);
}

double openingFade(const VideoProject& project)
{
    const auto spans = Timeline::kept(project.duration, project.edit.cuts);
    return spans.empty() ? 0 : std::clamp(project.edit.fade, 0.0, spans.front().duration() / maxFadeShare);
}

} // namespace orvo::RenderGraph
