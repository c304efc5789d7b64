#pragma once

#include "VideoCore/VideoProject.h"

#include <vector>

namespace orvo {

/// The visible span of a recording on a timeline, and the conversion between times and positions.
///
/// A value. Times are seconds, positions are logical pixels from the left edge of the timeline. The visible span never
/// leaves the recording: it is at most as long as the recording, and at least as long as `maxPixelsPerSecond` allows.
class TimelineScale {
public:
    /// Above this scale there is no more detail to show.
    static constexpr double maxPixelsPerSecond = 1000;

    TimelineScale() = default;
    TimelineScale(double width, double duration);

    double width() const noexcept { return m_width; }
    double duration() const noexcept { return m_duration; }
    double pixelsPerSecond() const noexcept { return m_pixelsPerSecond; }
    /// The time at the left edge.
    double offset() const noexcept { return m_offset; }
    /// The visible span.
    TimeSpan visible() const noexcept;
    /// Whether the whole recording is visible.
    bool fits() const noexcept;

    double x(double time) const noexcept { return (time - m_offset) * m_pixelsPerSecond; }
    /// The time at a position, clamped to the recording.
    double time(double x) const noexcept;
    /// The duration of a number of pixels, in seconds.
    double seconds(double pixels) const noexcept { return pixels / m_pixelsPerSecond; }

    /// Changes the width. A recording that fits keeps fitting; otherwise the scale and the left edge stay.
    void resize(double width);
    /// Changes the length of the recording, like `resize`.
    void setDuration(double duration);
    /// Shows the whole recording.
    void fit();
    /// Magnifies by a factor (below 1 shrinks); the time at `x` keeps its position as far as possible.
    void zoomBy(double factor, double x);
    void scrollBy(double pixels);
    /// Scrolls this time to the left edge, as far as possible.
    void setOffset(double time);
    /// Scrolls the minimum distance that brings this time at least `margin` pixels inside.
    void reveal(double time, double margin);
    /// Scrolls a whole page: a time outside the view moves to the left edge.
    void turnPageTo(double time);

    /// The marks of a ruler.
    struct Ticks {
        double step = 1; ///< Seconds between two labelled marks.
        int parts = 5; ///< Number of parts into which small marks divide a step.
    };
    /// The densest marks whose labels are at least `pixels` apart.
    Ticks ticks(double pixels) const;

private:
    double fittingScale() const noexcept;
    void keepInside();

    double m_width = 1;
    double m_duration = 0;
    double m_pixelsPerSecond = 1;
    double m_offset = 0;
};

} // namespace orvo
