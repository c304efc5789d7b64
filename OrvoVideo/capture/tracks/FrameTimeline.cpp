#include "OrvoVideo/capture/tracks/FrameTimeline.h"

#include <algorithm>
#include <utility>

namespace orvo {

namespace {

constexpr double minLength = 0.001; ///< Minimum duration of a frame, in seconds: the resolution of the files.

} // namespace

FrameTimeline::FrameTimeline(Sink sink)
    : m_sink(std::move(sink))
{
}

void FrameTimeline::handOver(double end)
{
    m_newest->length = std::max(end - m_newest->start, minLength);
    m_sink(*m_newest);
}

void FrameTimeline::add(std::shared_ptr<const FrameMemory> frame, double seconds)
{
    if (m_newest && seconds < m_newestTime)
        return;
    if (m_newest && seconds == m_newestTime) {
        // Frames in transit at the end of a pause all have the time of the resume; the last one shows the current screen.
        m_newest->frame = std::move(frame);
        return;
    }
    m_newestTime = seconds;
    if (!m_newest) {
        // The first frame also covers the time before it.
        m_newest = Placed{.frame = std::move(frame)};
        if (seconds >= minLength)
            standUntil(seconds);
        return;
    }
    const double start = std::max(seconds, m_newest->start + minLength);
    handOver(start);
    m_newest = Placed{.frame = std::move(frame), .start = start};
}

void FrameTimeline::standUntil(double seconds)
{
    if (!m_newest || seconds < m_newest->start + minLength)
        return;
    handOver(seconds);
    m_newest->start = seconds;
}

void FrameTimeline::end(double seconds)
{
    if (m_newest)
        handOver(seconds);
    m_newest.reset();
}

} // namespace orvo
