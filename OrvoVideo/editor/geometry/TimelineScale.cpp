#include "EditorGeometry/TimelineScale.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace orvo {

namespace {

/// Seconds shown for a recording without a duration, so that there is always a scale.
constexpr double minShown = 0.1;

double length(double value)
{
    return std::isfinite(value) && value > 0 ? value : 0;
}

} // namespace

TimelineScale::TimelineScale(double width, double duration)
    : m_width(std::max(length(width), 1.0))
    , m_duration(length(duration))
{
    fit();
}

TimeSpan TimelineScale::visible() const noexcept
{
    return {m_offset, std::min(m_offset + m_width / m_pixelsPerSecond, std::max(m_duration, m_offset))};
}

bool TimelineScale::fits() const noexcept
{
    return m_pixelsPerSecond <= fittingScale() * (1 + 1e-9);
}

double TimelineScale::time(double x) const noexcept
{
    return std::clamp(m_offset + x / m_pixelsPerSecond, 0.0, m_duration);
}

double TimelineScale::fittingScale() const noexcept
{
    return m_width / std::max(m_duration, minShown);
}

void TimelineScale::keepInside()
{
    const double minScale = fittingScale();
    m_pixelsPerSecond = std::clamp(m_pixelsPerSecond, minScale, std::max(minScale, maxPixelsPerSecond));
    m_offset = std::clamp(m_offset, 0.0, std::max(m_duration - m_width / m_pixelsPerSecond, 0.0));
}

void TimelineScale::resize(double width)
{
    const bool fitted = fits();
    m_width = std::max(length(width), 1.0);
    if (fitted)
        fit();
    else
        keepInside();
}

void TimelineScale::setDuration(double duration)
{
    const bool fitted = fits();
    m_duration = length(duration);
    if (fitted)
        fit();
    else
        keepInside();
}

void TimelineScale::fit()
{
    m_pixelsPerSecond = fittingScale();
    m_offset = 0;
}

void TimelineScale::zoomBy(double factor, double x)
{
    if (!(factor > 0) || !std::isfinite(factor))
        return;
    const double anchor = m_offset + x / m_pixelsPerSecond;
    const double minScale = fittingScale();
    m_pixelsPerSecond = std::clamp(m_pixelsPerSecond * factor, minScale, std::max(minScale, maxPixelsPerSecond));
    m_offset = anchor - x / m_pixelsPerSecond;
    keepInside();
}

void TimelineScale::scrollBy(double pixels)
{
    setOffset(m_offset + pixels / m_pixelsPerSecond);
}

void TimelineScale::setOffset(double time)
{
    if (!std::isfinite(time))
        return;
    m_offset = time;
    keepInside();
}

void TimelineScale::reveal(double time, double margin)
{
    const double inside = std::min(margin, m_width / 2) / m_pixelsPerSecond;
    const double span = m_width / m_pixelsPerSecond;
    if (time < m_offset + inside)
        setOffset(time - inside);
    else if (time > m_offset + span - inside)
        setOffset(time - span + inside);
}

void TimelineScale::turnPageTo(double time)
{
    if (time < m_offset || time > m_offset + m_width / m_pixelsPerSecond)
        setOffset(time);
}

TimelineScale::Ticks TimelineScale::ticks(double pixels) const
{
    static constexpr std::array<Ticks, 17> choices{{{0.02, 2}, {0.05, 5}, {0.1, 5}, {0.2, 4}, {0.5, 5}, {1, 5}, {2, 4},
        {5, 5}, {10, 5}, {15, 3}, {30, 3}, {60, 6}, {120, 4}, {300, 5}, {600, 5}, {900, 3}, {1800, 6}}};
    const double needed = pixels / m_pixelsPerSecond;
    for (const auto& choice : choices) {
        if (choice.step >= needed)
            return choice;
    }
    // Beyond the table, steps are whole hours.
    return {std::ceil(needed / 3600) * 3600, 4};
}

} // namespace orvo
