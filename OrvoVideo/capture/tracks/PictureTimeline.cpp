#include "OrvoVideo/capture/tracks/PictureTimeline.h"

#include <algorithm>
#include <utility>

namespace orvo {

namespace {

constexpr double shortest = 0.001; ///< Seconds a picture is shown at least: files count no finer.

} // namespace

PictureTimeline::PictureTimeline(Sink sink)
    : m_sink(std::move(sink))
{
}

void PictureTimeline::handOver(double end)
{
    m_newest->length = std::max(end - m_newest->start, shortest);
    m_sink(*m_newest);
}

void PictureTimeline::add(std::shared_ptr<const PictureMemory> picture, double seconds)
{
    if (m_newest && seconds < m_newestTime)
        return;
    if (m_newest && seconds == m_newestTime) {
        // Frames on their way at the end of a pause all count from the resume: the last one shows what there is now.
        m_newest->picture = std::move(picture);
        return;
    }
    m_newestTime = seconds;
    if (!m_newest) {
        // What came before is not known: the first picture stands for it.
        m_newest = Placed{.picture = std::move(picture)};
        if (seconds >= shortest)
            standUntil(seconds);
        return;
    }
    const double start = std::max(seconds, m_newest->start + shortest);
    handOver(start);
    m_newest = Placed{.picture = std::move(picture), .start = start};
}

void PictureTimeline::standUntil(double seconds)
{
    if (!m_newest || seconds < m_newest->start + shortest)
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
