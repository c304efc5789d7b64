#include "OrvoVideo/playback/CompositionLayout.h"

#include <algorithm>
#include <cmath>

namespace orvo {

namespace {

constexpr double shortGap = 0.25;

/// Container formats round frame times differently; a frame counts as started this fraction of a frame early.
constexpr double frameTolerance = 0.03;

} // namespace

CompositionLayout::CompositionLayout(int fps, std::vector<Clip> video, double audioEnd)
    : m_fps(std::clamp(fps, 1, 240))
    , m_video(std::move(video))
    , m_duration(audioEnd)
{
    for (const Clip& clip : m_video)
        m_duration = std::max(m_duration, clip.start + clip.length);
}

long CompositionLayout::frameAt(double seconds) const
{
    return std::clamp(static_cast<long>(std::floor(seconds * m_fps + frameTolerance)), 0L, lastFrame());
}

long CompositionLayout::lastFrame() const
{
    return std::max(static_cast<long>(std::ceil(m_duration * m_fps - frameTolerance)) - 1, 0L);
}

std::optional<std::size_t> CompositionLayout::clipOver(double seconds) const
{
    for (std::size_t i = m_video.size(); i-- > 0;) {
        if (m_video[i].start <= seconds && seconds < m_video[i].start + m_video[i].length)
            return i;
    }
    return std::nullopt;
}

std::optional<std::size_t> CompositionLayout::clipAfter(double seconds) const
{
    std::optional<std::size_t> next;
    for (std::size_t i = 0; i < m_video.size(); ++i) {
        if (m_video[i].start > seconds && (!next || m_video[i].start < m_video[*next].start))
            next = i;
    }
    return next;
}

std::optional<CompositionLayout::Place> CompositionLayout::placeOf(long frame) const
{
    // Just before the middle, so that a clip's frame that starts exactly there belongs to the next frame.
    const double seconds = (static_cast<double>(frame) + 0.5) / m_fps - 0.0001;
    auto clip = clipOver(seconds);
    if (!clip) {
        const auto next = clipAfter(seconds);
        std::optional<std::size_t> before;
        const auto end = [this](std::size_t i) { return m_video[i].start + m_video[i].length; };
        for (std::size_t i = 0; i < m_video.size(); ++i) {
            if (end(i) <= seconds && (!before || end(i) >= end(*before)))
                before = i;
        }
        const double gap = (next ? m_video[*next].start : m_duration) - (before ? end(*before) : 0);
        if (gap >= shortGap || (!before && !next))
            return std::nullopt;
        clip = before ? before : next;
    }
    return Place{.clip = *clip, .time = std::max(seconds - m_video[*clip].start, 0.0)};
}

} // namespace orvo
