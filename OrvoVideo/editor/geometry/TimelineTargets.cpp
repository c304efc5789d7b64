#include "EditorGeometry/TimelineTargets.h"

#include <algorithm>
#include <cmath>

namespace orvo {

TimelineRows::TimelineRows(const VideoProject& project)
    : m_zooms(std::ranges::contains(project.edit.events, PointerKind::zoom, &PointerEvent::kind))
    , m_overlays(!project.edit.overlays.empty())
    , m_cuts(!project.edit.cuts.empty())
    , m_rows(project.tracks.size())
{
    std::size_t row = 0;
    for (const bool isSystem : {false, true}) {
        for (std::size_t i = 0; i < project.tracks.size(); ++i) {
            if ((project.tracks[i].kind == TrackKind::system) == isSystem)
                m_rows[i] = row++;
        }
    }
}

} // namespace orvo

namespace orvo::TimelineTargets {

namespace {

using Kind = TimelineTarget::Kind;
using Part = TimelineTarget::Part;

/// Finds the target at a position among items in drawing order.
class Search {
public:
    Search(double x, const TimelineScale& scale)
        : m_x(x)
        , m_scale(scale)
    {
    }

    void consider(Kind kind, std::size_t index, TimeSpan span)
    {
        const double start = m_scale.x(span.start);
        const double end = m_scale.x(span.end);
        // Items too narrow for two edges and a body have their edges outside.
        const double inward = std::min(reach, std::max((end - start) / 3, 0.0));
        const double toStart = m_x - start;
        const double toEnd = m_x - end;
        if (toEnd > -inward && toEnd <= reach)
            offer({kind, Part::end, index, span}, std::abs(toEnd));
        else if (toStart >= -reach && toStart < inward)
            offer({kind, Part::start, index, span}, std::abs(toStart));
        else if (m_x >= start && m_x <= end)
            m_body = {kind, Part::body, index, span};
    }

    TimelineTarget found() const { return m_edge.kind != Kind::none ? m_edge : m_body; }

private:
    void offer(const TimelineTarget& target, double distance)
    {
        if (m_edge.kind != Kind::none && distance > m_distance)
            return;
        m_edge = target;
        m_distance = distance;
    }

    double m_x;
    const TimelineScale& m_scale;
    TimelineTarget m_edge;
    double m_distance = 0;
    TimelineTarget m_body;
};

} // namespace

TimelineTarget at(double x, double y, const TimelineScale& scale, const VideoProject& project, TimeSpan selection)
{
    const TimelineRows rows(project);
    if (y < rows.zoomsTop())
        return {.kind = Kind::ruler};
    const auto& edit = project.edit;
    Search search(x, scale);
    if (y < rows.overlaysTop()) {
        for (std::size_t i = 0; i < edit.events.size(); ++i) {
            const auto& event = edit.events[i];
            if (event.kind == PointerKind::zoom)
                search.consider(Kind::zoom, i, {event.time, event.time + event.duration});
        }
        return search.found();
    }
    if (y < rows.cutsTop()) {
        for (std::size_t i = 0; i < edit.overlays.size(); ++i)
            search.consider(Kind::overlay, i, {edit.overlays[i].start, edit.overlays[i].end});
        return search.found();
    }
    for (std::size_t i = 0; i < edit.cuts.size(); ++i)
        search.consider(Kind::cut, i, edit.cuts[i]);
    if (y < rows.tracksTop() || search.found().part != Part::body)
        return search.found();
    // In the tracks the selection covers the cuts. Only its edges are targets: a new selection may start inside it.
    if (selection.duration() > 0) {
        Search handles(x, scale);
        handles.consider(Kind::selection, 0, selection);
        if (handles.found().part != Part::body)
            return handles.found();
    }
    return search.found();
}

TimeSpan dragged(const TimelineTarget& target, double time, double duration)
{
    const TimeSpan span = target.span;
    switch (target.part) {
    case Part::start:
        return {std::clamp(time, 0.0, std::max(span.end - minDuration, 0.0)), span.end};
    case Part::end: {
        const double minEnd = std::min(span.start + minDuration, duration);
        return {span.start, std::clamp(time, minEnd, std::max(minEnd, duration))};
    }
    case Part::body:
        break;
    }
    const double start = std::clamp(time, 0.0, std::max(duration - span.duration(), 0.0));
    return {start, start + span.duration()};
}

} // namespace orvo::TimelineTargets
