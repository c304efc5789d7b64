#include "OrvoVideo/editor/TimelineItem.h"

#include "OrvoVideo/model/ModelText.h"

#include <QHoverEvent>
#include <QQuickWindow>
#include <algorithm>
#include <array>
#include <cmath>

namespace orvo {

namespace {

using Kind = TimelineTarget::Kind;

/// "1 minuto 5,2 segundos".
QString spoken(double seconds)
{
    const auto tenths = std::llround(std::max(seconds, 0.0) * 10);
    const auto minutes = tenths / 600;
    const QString rest = QString::number(static_cast<double>(tenths % 600) / 10, 'f', 1).replace(u'.', u',');
    QString text = rest == u"1,0" ? QStringLiteral("1 segundo") : QStringLiteral("%1 segundos").arg(rest);
    if (minutes == 0)
        return text;
    return (minutes == 1 ? QStringLiteral("1 minuto ") : QStringLiteral("%1 minutos ").arg(minutes)) + text;
}

QString nameOf(const TimelineTarget& target)
{
    switch (target.kind) {
    case Kind::cut:
        return QStringLiteral("Corte");
    case Kind::zoom:
        return QStringLiteral("Zoom");
    case Kind::overlay:
        return QStringLiteral("Texto o imagen");
    default:
        return {};
    }
}

} // namespace

TimelineItem::TimelineItem(QQuickItem* parent)
    : QQuickPaintedItem(parent)
{
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setActiveFocusOnTab(true);
    setOpaquePainting(false);
    connect(&m_strips, &MediaStrips::changed, this, [this] {
        update();
        emit stripsChanged();
    });
    connect(&m_strips, &MediaStrips::preparingChanged, this, &TimelineItem::preparingChanged);
}

void TimelineItem::setModel(AppModel* model)
{
    if (m_model == model)
        return;
    if (m_model)
        m_model->disconnect(this);
    m_model = model;
    if (m_model) {
        connect(m_model, &AppModel::projectChanged, this, &TimelineItem::showProject);
        connect(m_model, &AppModel::selectedSpanChanged, this, [this] { update(); });
        connect(m_model, &AppModel::playheadChanged, this, &TimelineItem::showPlayhead);
    }
    showProject();
    emit modelChanged();
}

void TimelineItem::setColors(const QVariantMap& colors)
{
    m_colorMap = colors;
    m_colors = TimelineColors::from(colors);
    emit colorsChanged();
    update();
}

void TimelineItem::setFont(const QFont& font)
{
    m_font = font;
    emit fontChanged();
    update();
}

const VideoProject* TimelineItem::project() const
{
    return m_model && m_model->project() ? &*m_model->project() : nullptr;
}

const WaveformPeaks* TimelineItem::peaksOf(std::size_t track) const
{
    return track < m_files.size() ? m_strips.peaks(m_files[track]) : nullptr;
}

double TimelineItem::duration() const
{
    return project() ? project()->duration : 0;
}

double TimelineItem::frame() const
{
    return project() && project()->fps > 0 ? 1.0 / static_cast<double>(project()->fps) : 1.0 / 30;
}

QVariantMap TimelineItem::rows() const
{
    QVariantList tracks;
    for (std::size_t i = 0; i < m_tracks.size(); ++i)
        tracks.append(m_rows.trackTop(i));
    QVariantMap map{{QStringLiteral("tracks"), tracks}, {QStringLiteral("lane"), TimelineRows::lane},
        {QStringLiteral("track"), TimelineRows::track}};
    if (m_rows.hasZooms())
        map.insert(QStringLiteral("zooms"), m_rows.zoomsTop());
    if (m_rows.hasOverlays())
        map.insert(QStringLiteral("overlays"), m_rows.overlaysTop());
    if (m_rows.hasCuts())
        map.insert(QStringLiteral("cuts"), m_rows.cutsTop());
    return map;
}

double TimelineItem::shownPosition() const
{
    return m_scale.duration() > 0 ? m_scale.offset() / m_scale.duration() : 0;
}

double TimelineItem::shownSize() const
{
    return m_scale.duration() > 0 ? m_scale.visible().duration() / m_scale.duration() : 1;
}

void TimelineItem::showProject()
{
    // The change may have removed the dragged item.
    m_drag.reset();
    m_draft.reset();
    setSnap(std::nullopt);
    const VideoProject* shown = project();
    const bool other = !shown || shown->id != m_projectId;
    // Does not read files that are being recorded; their waveforms and frames appear when the recording ends.
    const bool recording = shown && shown->state.starts_with(ProjectState::recording);
    if (other || recording != m_recording || !m_tracks.sharesStorageWith(shown->tracks)) {
        m_recording = recording;
        m_tracks = shown ? shown->tracks : SharedList<MediaTrack>();
        m_files.assign(m_tracks.size(), {});
        std::vector<MediaStrips::Source> sources;
        for (std::size_t i = 0; i < m_tracks.size() && !recording; ++i) {
            const auto& track = m_tracks[i];
            try {
                m_files[i] = m_model->store().mediaURL(*shown, track.file);
            } catch (const std::exception&) {
                continue; // The path leaves the project: shows neither frames nor waveform.
            }
            sources.push_back({.file = m_files[i],
                .duration = track.duration,
                .frames = track.kind != TrackKind::microphone && track.kind != TrackKind::system,
                .audio = track.kind != TrackKind::camera});
        }
        m_strips.setSources(std::move(sources));
    }
    if (other) {
        m_projectId = shown ? shown->id : Uuid();
        m_scale = TimelineScale(width(), duration());
        choose({});
    } else if (m_scale.duration() != duration()) {
        m_scale.setDuration(duration());
    }
    m_rows = shown ? TimelineRows(*shown) : TimelineRows();
    if (shown)
        m_snapping.show(*shown);
    // The mark holds a list index; if the index no longer holds such an item, clears the mark.
    if (m_chosen.kind != Kind::none) {
        if (const auto now = targetOf(m_chosen.kind, m_chosen.index))
            m_chosen.span = now->span;
        else
            choose({});
    }
    emit rowsChanged();
    emit playheadChanged();
    scaleChanged();
}

void TimelineItem::showPlayhead()
{
    if (m_model->playing() && !m_drag) {
        const double before = m_scale.offset();
        m_scale.turnPageTo(playhead());
        if (m_scale.offset() != before)
            scaleChanged();
    }
    emit playheadChanged();
}

void TimelineItem::scaleChanged()
{
    emit viewChanged();
    emit playheadChanged();
    emit snapChanged();
    update();
}

void TimelineItem::geometryChange(const QRectF& now, const QRectF& before)
{
    QQuickPaintedItem::geometryChange(now, before);
    if (now.width() != before.width()) {
        m_scale.resize(now.width());
        scaleChanged();
    }
}

void TimelineItem::paint(QPainter* painter)
{
    const VideoProject* shown = project();
    if (!shown)
        return;
    const TimelinePainter::Scene scene{.project = *shown,
        .scale = m_scale,
        .selection = {m_model->selectedSpan().start, m_model->selectedSpan().end},
        .strips = m_strips,
        .files = m_files,
        .colors = m_colors,
        .font = m_font,
        .chosen = m_chosen,
        .draft = m_draft,
        .height = height()};
    TimelinePainter drawing(*painter, scene);
    drawing.paint();
    // `paint` may run on the render thread while the main thread waits, so this queues the request.
    auto missing = drawing.takeMissing();
    QMetaObject::invokeMethod(
        this, [this, missing = std::move(missing)] mutable { m_strips.want(std::move(missing)); }, Qt::QueuedConnection);
}

void TimelineItem::setPlayhead(double seconds)
{
    if (!m_model)
        return;
    m_model->seek(std::clamp(seconds, 0.0, duration()));
    revealPlayhead();
}

void TimelineItem::revealPlayhead()
{
    const double before = m_scale.offset();
    m_scale.reveal(playhead(), 24);
    if (m_scale.offset() != before)
        scaleChanged();
}

QString TimelineItem::spokenPosition() const
{
    if (!project())
        return {};
    QString text = QStringLiteral("%1 de %2").arg(spoken(playhead()), spoken(duration()));
    const auto inside = [&](const TimeSpan& cut) { return cut.start <= playhead() && playhead() < cut.end; };
    if (std::ranges::any_of(project()->edit.cuts, inside))
        text += QStringLiteral(", dentro de un corte");
    return text;
}

void TimelineItem::zoomBy(double factor, double x)
{
    const double place = playheadX();
    if (place >= 0 && place <= width()) {
        m_scale.zoomBy(factor, place);
    } else if (x >= 0) {
        m_scale.zoomBy(factor, x);
    } else {
        m_scale.zoomBy(factor, width() / 2);
        m_scale.setOffset(playhead() - m_scale.seconds(width() / 2));
    }
    scaleChanged();
}

void TimelineItem::fit()
{
    m_scale.fit();
    scaleChanged();
}

void TimelineItem::showFrom(double fraction)
{
    m_scale.setOffset(fraction * m_scale.duration());
    scaleChanged();
}

void TimelineItem::scrollBy(double pixels)
{
    m_scale.scrollBy(pixels);
    scaleChanged();
}

void TimelineItem::goToEdge(bool forward)
{
    if (!project())
        return;
    if (const auto edge = forward ? m_snapping.next(playhead()) : m_snapping.previous(playhead())) {
        setPlayhead(*edge);
        emit spoke(spokenPosition());
    }
}

std::optional<TimelineTarget> TimelineItem::targetOf(Kind kind, std::size_t index) const
{
    if (!project())
        return std::nullopt;
    const auto& edit = project()->edit;
    TimelineTarget target{.kind = kind, .part = TimelineTarget::Part::body, .index = index, .span = {}};
    switch (kind) {
    case Kind::cut:
        if (index >= edit.cuts.size())
            return std::nullopt;
        target.span = edit.cuts[index];
        return target;
    case Kind::zoom:
        if (index >= edit.events.size() || edit.events[index].kind != PointerKind::zoom)
            return std::nullopt;
        target.span = {edit.events[index].time, edit.events[index].time + edit.events[index].duration};
        return target;
    case Kind::overlay:
        if (index >= edit.overlays.size())
            return std::nullopt;
        target.span = {edit.overlays[index].start, edit.overlays[index].end};
        return target;
    default:
        return std::nullopt;
    }
}

QString TimelineItem::chosenKind() const
{
    switch (m_chosen.kind) {
    case Kind::cut:
        return QStringLiteral("cut");
    case Kind::zoom:
        return QStringLiteral("zoom");
    case Kind::overlay:
        return QStringLiteral("overlay");
    default:
        return {};
    }
}

void TimelineItem::choose(const TimelineTarget& target)
{
    m_chosen = target;
    emit chosenChanged();
    update();
}

void TimelineItem::chooseNext(bool forward)
{
    if (!project())
        return;
    const auto& edit = project()->edit;
    std::vector<TimelineTarget> all;
    const auto add = [&](Kind kind, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            if (const auto target = targetOf(kind, i))
                all.push_back(*target);
        }
    };
    add(Kind::cut, edit.cuts.size());
    add(Kind::zoom, edit.events.size());
    add(Kind::overlay, edit.overlays.size());
    std::ranges::stable_sort(all, {}, [](const auto& target) { return target.span.start; });
    if (all.empty())
        return;
    const auto marked = std::ranges::find_if(
        all, [&](const auto& target) { return target.kind == m_chosen.kind && target.index == m_chosen.index; });
    const TimelineTarget* next = nullptr;
    if (marked != all.end()) {
        const auto place = marked - all.begin() + (forward ? 1 : -1);
        if (place >= 0 && place < std::ssize(all))
            next = &all[static_cast<std::size_t>(place)];
    } else if (forward) {
        const auto found = std::ranges::find_if(all, [&](const auto& target) { return target.span.start >= playhead(); });
        next = found == all.end() ? &all.front() : &*found;
    } else {
        for (const auto& target : all)
            next = target.span.start <= playhead() ? &target : next;
        next = next ? next : &all.back();
    }
    if (!next)
        return;
    choose(*next);
    setPlayhead(next->span.start);
    emit spoke(QStringLiteral("%1, %2 de duración, en %3")
            .arg(nameOf(*next), spoken(next->span.duration()), spoken(next->span.start)));
}

void TimelineItem::nudgeChosen(int frames, bool end)
{
    auto target = targetOf(m_chosen.kind, m_chosen.index);
    if (!target)
        return;
    if (end)
        target->part = TimelineTarget::Part::end;
    else if (target->kind == Kind::cut)
        target->part = TimelineTarget::Part::start;
    const double time = (end ? target->span.end : target->span.start) + frames * frame();
    const auto span = TimelineTargets::dragged(*target, time, duration());
    apply(*target, span);
    emit spoke(QStringLiteral("de %1 a %2").arg(spoken(span.start), spoken(span.end)));
}

bool TimelineItem::removeChosen()
{
    const auto target = targetOf(m_chosen.kind, m_chosen.index);
    if (!target || target->kind == Kind::cut)
        return false;
    choose({});
    const auto& edit = project()->edit;
    if (target->kind == Kind::zoom)
        m_model->editing()->removeEvent(Text::from(edit.events[target->index].id));
    else
        m_model->editing()->removeOverlay(Text::from(edit.overlays[target->index].id));
    return true;
}

bool TimelineItem::restoreChosen()
{
    if (!project())
        return false;
    auto target = m_chosen.kind == Kind::cut ? targetOf(Kind::cut, m_chosen.index) : std::nullopt;
    const auto& cuts = project()->edit.cuts;
    for (std::size_t i = 0; !target && i < cuts.size(); ++i) {
        if (cuts[i].start <= playhead() && playhead() < cuts[i].end)
            target = targetOf(Kind::cut, i);
    }
    if (!target)
        return false;
    choose({});
    m_model->editing()->restoreCut(target->span.start, target->span.end);
    emit spoke(QStringLiteral("Corte restaurado"));
    return true;
}

bool TimelineItem::letGo()
{
    const bool any = m_drag.has_value() || m_chosen.kind != Kind::none;
    if (m_drag)
        endDrag();
    else
        choose({});
    return any;
}

void TimelineItem::apply(const TimelineTarget& target, TimeSpan span)
{
    const VideoProject* shown = project();
    if (!shown || span == target.span)
        return;
    switch (target.kind) {
    case Kind::cut:
        m_model->editing()->moveCut(target.span.start, target.span.end, span.start, span.end);
        break;
    case Kind::zoom:
        m_model->editing()->setEventValues(Text::from(shown->edit.events[target.index].id),
            {{QStringLiteral("time"), span.start}, {QStringLiteral("duration"), span.end - span.start}});
        break;
    case Kind::overlay:
        m_model->editing()->setOverlayValues(Text::from(shown->edit.overlays[target.index].id),
            {{QStringLiteral("start"), span.start}, {QStringLiteral("end"), span.end}});
        break;
    default:
        break;
    }
}

} // namespace orvo
