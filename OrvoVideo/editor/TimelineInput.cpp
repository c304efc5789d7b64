#include "OrvoVideo/editor/TimelineItem.h"

#include "OrvoVideo/model/ModelText.h"

#include <QCursor>
#include <QHoverEvent>
#include <QNativeGestureEvent>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

// Pointer, wheel, gesture and focus events of the timeline.

namespace orvo {

namespace {

using Kind = TimelineTarget::Kind;
using Part = TimelineTarget::Part;

constexpr double dragDistance = 4; ///< Distance at which a press becomes a drag, in pixels.
constexpr double snapDistance = 8; ///< Distance within which a drag snaps, in pixels.
constexpr double wordScale = 40; ///< Scale from which drags snap to words, in pixels per second.
constexpr double notch = 120; ///< Angle delta of one wheel step, in eighths of a degree.

/// Whether a drag snaps; Shift turns snapping off.
bool isSnapping(const QMouseEvent& event)
{
    return !event.modifiers().testFlag(Qt::ShiftModifier);
}

} // namespace

void TimelineItem::focusInEvent(QFocusEvent* event)
{
    QQuickPaintedItem::focusInEvent(event);
    const auto reason = event->reason();
    setVisualFocus(reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason);
}

void TimelineItem::focusOutEvent(QFocusEvent* event)
{
    QQuickPaintedItem::focusOutEvent(event);
    setVisualFocus(false);
}

void TimelineItem::setVisualFocus(bool visible)
{
    if (std::exchange(m_visualFocus, visible) != visible)
        emit visualFocusChanged();
}

TimelineTarget TimelineItem::targetAt(QPointF place) const
{
    const VideoProject* shown = project();
    if (!shown)
        return {};
    const auto selection = m_model->selectedSpan();
    return TimelineTargets::at(place.x(), place.y(), m_scale, *shown, {selection.start, selection.end});
}

void TimelineItem::setSnap(std::optional<double> time)
{
    if (m_snap == time)
        return;
    m_snap = time;
    emit snapChanged();
}

double TimelineItem::snapped(double time, std::span<const double> ignored, bool snaps)
{
    setSnap(std::nullopt);
    if (!snaps)
        return time;
    const auto selection = m_model->selectedSpan();
    std::array<double, 3> others{selection.start, selection.end, playhead()};
    const bool leadsPlayhead = m_drag && m_drag->target.kind == Kind::ruler;
    const bool makesSelection = m_drag && (m_drag->target.kind == Kind::selection || m_drag->target.kind == Kind::none);
    std::span<const double> considered(others);
    if (leadsPlayhead)
        considered = considered.first(2);
    else if (makesSelection)
        considered = considered.last(1);
    const auto words = m_scale.pixelsPerSecond() >= wordScale ? Snapping::Words::included : Snapping::Words::ignored;
    const auto found = m_snapping.nearest(time, m_scale.seconds(snapDistance), words, considered, ignored);
    setSnap(found);
    return found.value_or(time);
}

void TimelineItem::mousePressEvent(QMouseEvent* event)
{
    if (!project()) {
        event->ignore();
        return;
    }
    forceActiveFocus(Qt::MouseFocusReason);
    const QPointF place = event->position();
    auto target = targetAt(place);
    // The body of a cut cannot be dragged; in the tracks, a drag over it starts a selection.
    if (target.kind == Kind::cut && target.part == Part::body && place.y() >= m_rows.tracksTop())
        target = {};
    const double edge = target.part == Part::end ? target.span.end : target.span.start;
    m_drag =
        Drag{.target = target, .from = place, .grip = target.movable() ? edge - m_scale.time(place.x()) : 0, .moved = false};
    choose(
        target.kind == Kind::cut || target.kind == Kind::zoom || target.kind == Kind::overlay ? target : TimelineTarget());
    if (target.kind == Kind::ruler)
        drag(place, isSnapping(*event));
}

void TimelineItem::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_drag)
        return;
    const QPointF place = event->position();
    if (!m_drag->moved && m_drag->target.kind != Kind::ruler && std::abs(place.x() - m_drag->from.x()) < dragDistance)
        return;
    m_drag->moved = true;
    setKeepMouseGrab(true);
    drag(place, isSnapping(*event));
}

void TimelineItem::drag(QPointF place, bool snaps)
{
    // Dragging beyond an edge scrolls.
    if (place.x() < 0 || place.x() > width()) {
        m_scale.scrollBy(std::clamp(place.x() < 0 ? place.x() : place.x() - width(), -40.0, 40.0));
        scaleChanged();
    }
    const double time = m_scale.time(place.x());
    switch (m_drag->target.kind) {
    case Kind::ruler:
        m_model->seek(snapped(time, {}, snaps));
        break;
    case Kind::none:
    case Kind::selection:
        dragSelection(time, snaps);
        break;
    case Kind::cut:
    case Kind::zoom:
    case Kind::overlay:
        if (m_drag->target.movable()) {
            m_draft = draggedSpan(std::clamp(time + m_drag->grip, -duration(), duration()), snaps);
            update();
        }
        break;
    }
}

void TimelineItem::dragSelection(double time, bool snaps)
{
    const auto& target = m_drag->target;
    double fixed = 0;
    if (target.kind == Kind::selection)
        fixed = target.part == Part::start ? target.span.end : target.span.start;
    else
        fixed = snapped(m_scale.time(m_drag->from.x()), {}, snaps);
    const double moved = snapped(time, {}, snaps);
    m_model->setSelectedSpan({std::min(fixed, moved), std::max(fixed, moved)});
}

TimeSpan TimelineItem::draggedSpan(double time, bool snaps)
{
    const auto& target = m_drag->target;
    const std::array ignored{target.span.start, target.span.end};
    double to = snapped(time, ignored, snaps);
    // An item dragged as a whole also snaps with its end.
    if (target.part == Part::body && !m_snap) {
        const double length = target.span.duration();
        to = snapped(time + length, ignored, snaps) - length;
    }
    return TimelineTargets::dragged(target, to, duration());
}

void TimelineItem::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_drag)
        return;
    const auto done = *m_drag;
    const auto draft = m_draft;
    endDrag();
    if (done.moved) {
        if (draft)
            apply(done.target, *draft);
        return;
    }
    switch (done.target.kind) {
    case Kind::none:
        m_model->seek(m_scale.time(event->position().x()));
        break;
    case Kind::cut:
        m_model->setSelectedSpan({done.target.span.start, done.target.span.end});
        break;
    case Kind::zoom:
        emit cardWanted(QStringLiteral("zoom"), Text::from(project()->edit.events[done.target.index].id));
        break;
    case Kind::overlay:
        emit cardWanted(QStringLiteral("overlay"), Text::from(project()->edit.overlays[done.target.index].id));
        break;
    default:
        break;
    }
}

void TimelineItem::mouseUngrabEvent()
{
    endDrag();
}

void TimelineItem::endDrag()
{
    m_drag.reset();
    m_draft.reset();
    setKeepMouseGrab(false);
    setSnap(std::nullopt);
    update();
}

void TimelineItem::mouseDoubleClickEvent(QMouseEvent* event)
{
    const auto target = targetAt(event->position());
    if (target.kind == Kind::cut) {
        endDrag();
        choose(target);
        restoreChosen();
    } else if (target.kind == Kind::zoom || target.kind == Kind::overlay) {
        m_model->setSelectedSpan({target.span.start, target.span.end});
    } else if (project() && target.kind == Kind::none) {
        m_model->seek(m_scale.time(event->position().x()));
    }
}

void TimelineItem::hoverMoveEvent(QHoverEvent* event)
{
    const auto target = targetAt(event->position());
    if (target.part != Part::body)
        setCursor(QCursor(Qt::SizeHorCursor));
    else if (target.movable())
        setCursor(QCursor(Qt::OpenHandCursor));
    else
        unsetCursor();
}

void TimelineItem::wheelEvent(QWheelEvent* event)
{
    const QPoint angle = event->angleDelta();
    const bool sideways = event->modifiers().testFlag(Qt::ShiftModifier) || std::abs(angle.x()) > std::abs(angle.y());
    if (sideways) {
        const QPoint exact = event->pixelDelta();
        const double steps = angle.x() != 0 ? angle.x() : angle.y();
        scrollBy(!exact.isNull() ? -(exact.x() != 0 ? exact.x() : exact.y()) : -steps / notch * width() / 8);
    } else {
        zoomBy(std::pow(1.25, angle.y() / notch), event->position().x());
    }
    event->accept();
}

bool TimelineItem::event(QEvent* event)
{
    if (event->type() == QEvent::NativeGesture) {
        const auto* gesture = static_cast<QNativeGestureEvent*>(event);
        if (gesture->gestureType() == Qt::ZoomNativeGesture) {
            zoomBy(1 + gesture->value(), gesture->position().x());
            return true;
        }
    }
    return QQuickPaintedItem::event(event);
}

} // namespace orvo
