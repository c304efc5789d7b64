#include "OrvoVideo/capture/tracks/PictureTimeline.h"

#include <algorithm>
#include <utility>

namespace orvo {

namespace {

constexpr double minLength = 0.001; ///< Minimum duration of a frame, in seconds: the resolution of the files.

} // namespace

PictureTimeline::PictureTimeline(Sink sink)
    : m_sink(std::move(sink))
{
}

void PictureTimeline::handOver(double end)
{
    m_newest->length = std::max(end - m_newest->start, minLength);
    m_sink(*m_newest);
}

void PictureTimeline::add(std::shared_ptr<const PictureMemory> picture, double seconds)
{
    if (m_newest && seconds < m_newestTime)
        return;
    if (m_newest && seconds == m_newestTime) {
        // Frames in transit at the end of a pause all have the time of the resume; the last one shows the current screen.
        m_newest->picture = std::move(picture);
        return;
    }
    m_newestTime = seconds;
    if (!m_newest) {
        // The first frame also covers the time before it.
        m_newest = Placed{.picture = std::move(picture)};
        if (seconds >= minLength)
            standUntil(seconds);
        return;
    }
    const double start = std::max(seconds, m_newest->start + minLength);
    handOver(start);
    m_newest = Placed{.picture = std::move(picture), .start = start};
}

void PictureTimeline::standUntil(double seconds)
{
    if (!m_newest || seconds < m_newest->start + minLength)
        return;
    handOver(seconds);
    m_newest->start = seconds;
}

void PictureTimeline::end(double seconds)
{
    if (m_newest)
        handOver(seconds);
    m_newest.reset();
}

} // namespace orvo
