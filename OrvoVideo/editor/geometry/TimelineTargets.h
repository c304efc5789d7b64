#pragma once

#include "EditorGeometry/TimelineScale.h"
#include "VideoCore/VideoProject.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvo {

/// The rows of the timeline from top to bottom: the ruler, the lanes of the zoom points, the overlays and the cuts, and one
/// row per track. Empty lanes take no space. In logical pixels.
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

    // The tops of the lanes; an empty lane starts where the next one does.
    double zoomsTop() const noexcept { return ruler + gap; }
    double overlaysTop() const noexcept { return zoomsTop() + room(m_zooms); }
    double cutsTop() const noexcept { return overlaysTop() + room(m_overlays); }
    double tracksTop() const noexcept { return cutsTop() + room(m_cuts); }
    /// The top of the track with this index in the document. The computer's audio comes last, below the microphone.
    double trackTop(std::size_t index) const { return rowTop(m_rows[index]); }
    /// The bottom of the last row.
    double height() const noexcept { return rowTop(m_rows.size()); }

    friend bool operator==(const TimelineRows&, const TimelineRows&) = default;

private:
    static double room(bool isThere) noexcept { return isThere ? lane + gap : 0; }
    double rowTop(std::size_t row) const noexcept { return tracksTop() + static_cast<double>(row) * (track + gap); }

    bool m_zooms = false;
    bool m_overlays = false;
    bool m_cuts = false;
    std::vector<std::size_t> m_rows; ///< The row of every track.
};

/// An item of the timeline, or a part of one, under the pointer.
struct TimelineTarget {
    enum class Kind : std::uint8_t {
        none, ///< Empty track: a drag starts a new selection.
        ruler, ///< A drag moves the playhead.
        selection,
        cut,
        zoom,
        overlay
    };
    enum class Part : std::uint8_t { body, start, end };

    Kind kind = Kind::none;
    Part part = Part::body;
    std::size_t index = 0; ///< Index in the document's list of cuts, events or overlays.
    TimeSpan span; ///< The item's span in the document.

    /// Whether the pointer can drag it.
    bool movable() const noexcept { return part != Part::body || kind == Kind::zoom || kind == Kind::overlay; }

    friend bool operator==(const TimelineTarget&, const TimelineTarget&) = default;
};

namespace TimelineTargets {

/// Maximum distance between the pointer and an edge that it takes, in pixels.
inline constexpr double reach = 6;
/// Minimum duration of a dragged item, in seconds.
inline constexpr double minDuration = 0.04;

/// The item at a position; kind `none` if there is none. Edges win over bodies, the nearest edge first; of overlapping
/// bodies, the last drawn wins.
TimelineTarget at(double x, double y, const TimelineScale& scale, const VideoProject& project, TimeSpan selection);

/// The span of an item after its dragged part (its start, if it is dragged as a whole) moves to `time`. Stays within the
/// recording and keeps `minDuration`.
TimeSpan dragged(const TimelineTarget& target, double time, double duration);

} // namespace TimelineTargets

} // namespace orvo
