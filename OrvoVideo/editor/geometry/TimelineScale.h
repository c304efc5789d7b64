#pragma once

#include "VideoCore/VideoProject.h"

#include <vector>

namespace orvo {

/// Which stretch of a recording a timeline of a certain width shows, and the way between times and places on it.
///
/// A value. Times are seconds, places are logical pixels from the left edge of the timeline. The shown stretch never leaves
/// the recording: its length is at most that of the recording, and at least what `closest` allows.
class TimelineScale {
public:
    /// Pixels per second beyond which there is nothing more to see.
    static constexpr double closest = 1000;

    TimelineScale() = default;
    TimelineScale(double width, double duration);

    double width() const noexcept { return m_width; }
    double duration() const noexcept { return m_duration; }
    double pixelsPerSecond() const noexcept { return m_pixelsPerSecond; }
    /// The time at the left edge.
    double offset() const noexcept { return m_offset; }
    /// What is shown.
    TimeSpan visible() const noexcept;
    /// Whether the whole recording is shown.
    bool fits() const noexcept;

    double x(double time) const noexcept { return (time - m_offset) * m_pixelsPerSecond; }
    /// The time at a place, within the recording.
    double time(double x) const noexcept;
    /// Seconds that a number of pixels stand for.
    double seconds(double pixels) const noexcept { return pixels / m_pixelsPerSecond; }

    /// Another width. What fits goes on fitting; otherwise the scale and the left edge stay.
    void resize(double width);
    /// Another length of the recording. As `resize`.
    void setDuration(double duration);
    /// Shows the whole recording.
    void fit();
    /// Magnifies by a factor (below 1 shrinks); the time at `x` stays in its place as far as possible.
    void zoomBy(double factor, double x);
    void scrollBy(double pixels);
    /// Shows this time at the left edge, as far as possible.
    void setOffset(double time);
    /// Scrolls as little as needed to have this time at least `margin` pixels inside.
    void reveal(double time, double margin);
    /// As a page is turned: when the time lies outside, it comes to the left edge.
    void turnPageTo(double time);

    /// The marks of a ruler.
    struct Ticks {
        double step = 1; ///< Seconds between two marks with a text.
        int parts = 5; ///< Into how many parts the small marks divide a step.
    };
    /// The closest marks of which those with a text are at least `pixels` apart.
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
