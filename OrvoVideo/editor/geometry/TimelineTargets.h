#pragma once

#include "EditorGeometry/TimelineScale.h"
#include "VideoCore/VideoProject.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvo {

/// The rows of the timeline from top to bottom: the ruler, the lanes of the zoom points, the overlays and the cuts, and one
/// row per track. A lane that is empty takes no room. In logical pixels.
class TimelineRows {
public:
    static constexpr double ruler = 28;
    static constexpr double lane = 22;
    static constexpr double track = 48;
    static constexpr double gap = 3;

    TimelineRows() = default;
    explicit TimelineRows(const VideoProject& project);

    bool hasZooms() const noexcept { return m_zooms; }
    bool hasOverlays() const noexcept { return m_overlays; }
    bool hasCuts() const noexcept { return m_cuts; }

    // The tops of the lanes; of an empty one, where the next begins.
    double zoomsTop() const noexcept { return ruler + gap; }
    double overlaysTop() const noexcept { return zoomsTop() + room(m_zooms); }
    double cutsTop() const noexcept { return overlaysTop() + room(m_overlays); }
    double tracksTop() const noexcept { return cutsTop() + room(m_cuts); }
    /// The top of the track with this place in the document. The computer's sound comes last, under the microphone.
    double trackTop(std::size_t index) const { return rowTop(m_rows[index]); }
    /// Where the last row ends.
    double height() const noexcept { return rowTop(m_rows.size()); }

    friend bool operator==(const TimelineRows&, const TimelineRows&) = default;

private:
    static double room(bool isThere) noexcept { return isThere ? lane + gap : 0; }
    double rowTop(std::size_t row) const noexcept { return tracksTop() + static_cast<double>(row) * (track + gap); }

    bool m_zooms = false;
    bool m_overlays = false;
    bool m_cuts = false;
    std::vector<std::size_t> m_rows; ///< Of every track.
};

/// Something on the timeline that the pointer can take hold of.
struct TimelineTarget {
    enum class Kind : std::uint8_t {
        none, ///< Empty track: here a new selection begins.
        ruler, ///< Here the playhead is led.
        selection,
        cut,
        zoom,
        overlay
    };
    enum class Part : std::uint8_t { body, start, end };

    Kind kind = Kind::none;
    Part part = Part::body;
    std::size_t index = 0; ///< In the document's list of cuts, events or overlays.
    TimeSpan span; ///< As it is in the document.

    /// Whether the pointer can drag it.
    bool movable() const noexcept { return part != Part::body || kind == Kind::zoom || kind == Kind::overlay; }

    friend bool operator==(const TimelineTarget&, const TimelineTarget&) = default;
};

namespace TimelineTargets {

/// How near, in pixels, the pointer must be to an edge to take it.
inline constexpr double reach = 6;
/// Nothing is dragged shorter than this, in seconds.
inline constexpr double shortest = 0.04;

/// What lies at a place. Of things over one another, the last drawn; edges before bodies.
TimelineTarget at(double x, double y, const TimelineScale& scale, const VideoProject& project, TimeSpan selection);

/// Where a dragged thing lies when the dragged part of it (its start, when it is dragged as a whole) has come to `time`:
/// within the recording, and not shorter than `shortest`.
TimeSpan dragged(const TimelineTarget& target, double time, double duration);

} // namespace TimelineTargets

} // namespace orvo
