#include "OrvoVideo/editor/TimelinePainter.h"

#include "OrvoVideo/model/ModelText.h"

#include <QFontMetricsF>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace orvo {

namespace {

constexpr double corner = 5;
constexpr double narrowCut = 6; ///< Cuts below this width have no edges, in pixels.
constexpr double minPillWidth = 3; ///< Minimum drawn width of a span, in pixels.

QString rulerText(double seconds, double step)
{
    const auto whole = static_cast<qint64>(std::floor(seconds + 1e-6));
    QString text = QStringLiteral("%1:%2").arg(whole / 60, 2, 10, QLatin1Char('0')).arg(whole % 60, 2, 10, QLatin1Char('0'));
    if (step < 1) {
        const int digits = step < 0.1 ? 2 : 1;
        const double rest = seconds - static_cast<double>(whole);
        text += QString::number(std::max(rest, 0.0), 'f', digits).mid(1).replace(QLatin1Char('.'), QLatin1Char(','));
    }
    return text;
}

} // namespace

TimelineColors TimelineColors::from(const QVariantMap& map)
{
    const auto color = [&](const char* name) { return map.value(QLatin1String(name)).value<QColor>(); };
    return {.window = color("window"),
        .panel = color("panel"),
        .raised = color("raised"),
        .line = color("line"),
        .text = color("text"),
        .secondaryText = color("secondaryText"),
        .accent = color("accent"),
        .onAccent = color("onAccent"),
        .accentInk = color("accentInk"),
        .selection = color("selection"),
        .selectionEdge = color("selectionEdge"),
        .cut = color("cut"),
        .cutEdge = color("cutEdge")};
}

QColor faded(QColor color, double opacity)
{
    color.setAlphaF(static_cast<float>(color.alphaF() * opacity));
    return color;
}

TimelinePainter::TimelinePainter(QPainter& painter, const Scene& scene)
    : m_painter(painter)
    , m_scene(scene)
    , m_rows(scene.project)
    , m_visible(scene.scale.visible())
{
    m_painter.setFont(scene.font);
    m_painter.setRenderHint(QPainter::Antialiasing);
    m_painter.setRenderHint(QPainter::SmoothPixmapTransform);
}

void TimelinePainter::paint()
{
    paintRuler();
    paintZooms();
    paintOverlays();
    paintTracks();
    paintCuts();
    paintSelection();
}

std::vector<MediaStrips::FrameKey> TimelinePainter::takeMissing()
{
    const double middle = (m_visible.start + m_visible.end) / 2 * 1000;
    std::ranges::stable_sort(
        m_missing, {}, [&](const auto& key) { return std::abs(static_cast<double>(key.time) - middle); });
    return std::move(m_missing);
}

bool TimelinePainter::isChosen(Kind kind, std::size_t index) const
{
    return m_scene.chosen.kind == kind && m_scene.chosen.index == index;
}

TimeSpan TimelinePainter::shownSpan(Kind kind, std::size_t index, TimeSpan span) const
{
    return m_scene.draft && isChosen(kind, index) ? *m_scene.draft : span;
}

bool TimelinePainter::isSeen(TimeSpan span) const
{
    // Edges have a width, so include spans just outside the view.
    const double margin = m_scene.scale.seconds(8);
    return span.end >= m_visible.start - margin && span.start <= m_visible.end + margin;
}

QRectF TimelinePainter::place(TimeSpan span, double top, double height) const
{
    // Coordinates far outside the view are too large to draw.
    const double left = std::max(m_scene.scale.x(span.start), -16.0);
    const double right = std::min(m_scene.scale.x(span.end), m_scene.scale.width() + 16);
    return {left, top, std::max(right - left, 0.0), height};
}

void TimelinePainter::paintRuler()
{
    const auto ticks = m_scene.scale.ticks(76);
    const double small = ticks.step / ticks.parts;
    const QFontMetricsF metrics(m_scene.font);
    m_painter.setPen(QPen(m_scene.colors.line, 1));
    m_painter.drawLine(QPointF(0, TimelineRows::ruler - 0.5), QPointF(m_scene.scale.width(), TimelineRows::ruler - 0.5));
    const auto first = static_cast<qint64>(std::floor(m_visible.start / small));
    const auto last = static_cast<qint64>(std::ceil(m_visible.end / small));
    for (qint64 i = first; i <= last; ++i) {
        const double time = static_cast<double>(i) * small;
        const double x = std::round(m_scene.scale.x(time)) + 0.5;
        const bool large = i % ticks.parts == 0;
        m_painter.setPen(QPen(large ? m_scene.colors.secondaryText : m_scene.colors.line, 1));
        m_painter.drawLine(QPointF(x, TimelineRows::ruler - (large ? 9 : 5)), QPointF(x, TimelineRows::ruler - 1));
        if (large) {
            m_painter.setPen(m_scene.colors.secondaryText);
            m_painter.drawText(QPointF(x + 4, metrics.ascent() + 3), rulerText(time, ticks.step));
        }
    }
}

void TimelinePainter::paintLane(double top)
{
    m_painter.setPen(Qt::NoPen);
    m_painter.setBrush(m_scene.colors.panel);
    m_painter.drawRoundedRect(QRectF(0, top, m_scene.scale.width(), TimelineRows::lane), corner, corner);
}

void TimelinePainter::paintPill(const QRectF& where, const QString& text, bool chosen, const QColor& fill, const QColor& ink)
{
    const QRectF pill = where.adjusted(0, 2, 0, -2);
    m_painter.setPen(chosen ? QPen(m_scene.colors.text, 1.5) : QPen(Qt::NoPen));
    m_painter.setBrush(fill);
    m_painter.drawRoundedRect(
        QRectF(pill.x(), pill.y(), std::max(pill.width(), minPillWidth), pill.height()), corner, corner);
    if (pill.width() < 30)
        return;
    m_painter.setPen(ink);
    const QRectF inside = pill.intersected(QRectF(0, 0, m_scene.scale.width(), m_scene.height)).adjusted(8, 0, -6, 0);
    const QFontMetricsF metrics(m_scene.font);
    m_painter.drawText(inside, Qt::AlignVCenter | Qt::AlignLeft, metrics.elidedText(text, Qt::ElideRight, inside.width()));
}

void TimelinePainter::paintZooms()
{
    if (!m_rows.hasZooms())
        return;
    paintLane(m_rows.zoomsTop());
    const auto& events = m_scene.project.edit.events;
    for (std::size_t i = 0; i < events.size(); ++i) {
        const auto& event = events[i];
        if (event.kind != PointerKind::zoom)
            continue;
        const auto span = shownSpan(Kind::zoom, i, {event.time, event.time + event.duration});
        if (isSeen(span)) {
            paintPill(place(span, m_rows.zoomsTop(), TimelineRows::lane),
                QStringLiteral("%1×").arg(QString::number(event.scale, 'f', 1).replace(QLatin1Char('.'), QLatin1Char(','))),
                isChosen(Kind::zoom, i), m_scene.colors.accent, m_scene.colors.onAccent);
        }
    }
}

void TimelinePainter::paintOverlays()
{
    if (!m_rows.hasOverlays())
        return;
    paintLane(m_rows.overlaysTop());
    const auto& overlays = m_scene.project.edit.overlays;
    for (std::size_t i = 0; i < overlays.size(); ++i) {
        const auto& overlay = overlays[i];
        const auto span = shownSpan(Kind::overlay, i, {overlay.start, overlay.end});
        if (!isSeen(span))
            continue;
        const QString text =
            overlay.kind == Overlay::Kind::text ? Text::from(overlay.content).simplified() : QStringLiteral("Imagen");
        paintPill(place(span, m_rows.overlaysTop(), TimelineRows::lane), text, isChosen(Kind::overlay, i),
            m_scene.colors.raised, m_scene.colors.text);
        m_painter.setPen(QPen(m_scene.colors.accentInk, 1));
        m_painter.setBrush(Qt::NoBrush);
        m_painter.drawRoundedRect(
            place(span, m_rows.overlaysTop(), TimelineRows::lane).adjusted(0.5, 2.5, -0.5, -2.5), corner, corner);
    }
}

void TimelinePainter::paintTracks()
{
    const auto& tracks = m_scene.project.tracks;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const auto& track = tracks[i];
        const QRectF lane(0, m_rows.trackTop(i), m_scene.scale.width(), TimelineRows::track);
        const double length = track.duration > 0 ? track.duration : m_scene.project.duration;
        const TimeSpan span{track.start, track.start + length};
        m_painter.setPen(Qt::NoPen);
        m_painter.setBrush(m_scene.colors.panel);
        m_painter.drawRoundedRect(lane, corner, corner);
        if (!isSeen(span))
            continue;
        const QRectF row = place(span, lane.y(), lane.height());
        QPainterPath shape;
        shape.addRoundedRect(row, corner, corner);
        m_painter.save();
        m_painter.setClipPath(shape);
        m_painter.fillRect(row, m_scene.colors.raised);
        const auto& file = m_scene.files[i];
        const bool frames =
            track.kind == TrackKind::screen || track.kind == TrackKind::clip || track.kind == TrackKind::camera;
        if (frames && !file.empty())
            paintFrames(track, file, row);
        if (const auto* peaks = m_scene.strips.peaks(file)) {
            // On video tracks, the waveform covers the lower third.
            const QRectF audio = frames ? row.adjusted(0, row.height() * 2 / 3, 0, 0) : row;
            if (frames)
                m_painter.fillRect(audio, faded(m_scene.colors.window, 0.6));
            paintWaveform(track, *peaks, audio);
        }
        m_painter.restore();
    }
}

void TimelinePainter::paintFrames(const MediaTrack& track, const std::filesystem::path& file, const QRectF& row)
{
    const auto& project = m_scene.project;
    const double shape =
        project.height > 0 ? static_cast<double>(project.width) / static_cast<double>(project.height) : 16.0 / 9;
    const double width = std::clamp(row.height() * shape, 24.0, 240.0);
    // Steps are powers of two, so that zooming in reuses the frames already read.
    double step = MediaStrips::minFrameStep;
    while (step * m_scene.scale.pixelsPerSecond() < width)
        step *= 2;
    const double length = track.duration > 0 ? track.duration : project.duration;
    const double from = std::max(m_visible.start - track.start, 0.0);
    const double to = std::min(m_visible.end - track.start, length);
    for (auto i = static_cast<qint64>(std::floor(from / step)); static_cast<double>(i) * step < to; ++i) {
        const double time = static_cast<double>(i) * step;
        const double x = m_scene.scale.x(track.start + time);
        const double free = step * m_scene.scale.pixelsPerSecond();
        QImage image;
        for (double coarser = step; image.isNull() && coarser <= std::max(length, step); coarser *= 2) {
            const MediaStrips::FrameKey key{file, std::llround(std::floor(time / coarser) * coarser * 1000)};
            image = m_scene.strips.frame(key);
            if (image.isNull() && coarser == step)
                m_missing.push_back(key);
        }
        if (image.isNull())
            continue;
        // Frames stand side by side; each repeats to fill its time.
        const double drawn = row.height() * image.width() / std::max(image.height(), 1);
        m_painter.save();
        m_painter.setClipRect(QRectF(x, row.y(), free, row.height()), Qt::IntersectClip);
        for (double left = x; left < x + free && left < m_scene.scale.width(); left += drawn) {
            if (left + drawn > 0)
                m_painter.drawImage(QRectF(left, row.y(), drawn, row.height()), image);
        }
        m_painter.restore();
    }
}

void TimelinePainter::paintWaveform(const MediaTrack& track, const WaveformPeaks& peaks, const QRectF& row)
{
    const double middle = row.center().y();
    const double reach = row.height() / 2 - 2;
    const auto first = static_cast<int>(std::floor(std::max(row.left(), 0.0)));
    const auto last = static_cast<int>(std::ceil(std::min(row.right(), m_scene.scale.width())));
    const double gain = std::clamp(track.volume, 0.0, 4.0);
    QPolygonF outline;
    outline.reserve(qsizetype{2} * (last - first));
    std::vector<double> lows;
    lows.reserve(static_cast<std::size_t>(std::max(last - first, 0)));
    const double perPixel = m_scene.scale.seconds(1);
    for (int x = first; x < last; ++x) {
        const double time = m_scene.scale.offset() + x * perPixel - track.start;
        const auto peak = peaks.between(time, time + perPixel);
        // At least half a pixel, so that silence is a line.
        outline << QPointF(x + 0.5, middle - std::max(std::min(peak.high * gain, 1.0) * reach, 0.5));
        lows.push_back(middle + std::max(std::min(-peak.low * gain, 1.0) * reach, 0.5));
    }
    for (int x = last - 1; x >= first; --x)
        outline << QPointF(x + 0.5, lows[static_cast<std::size_t>(x - first)]);
    m_painter.setPen(Qt::NoPen);
    m_painter.setBrush(faded(m_scene.colors.accentInk, 0.85));
    m_painter.drawPolygon(outline);
}

void TimelinePainter::paintCuts()
{
    if (!m_rows.hasCuts())
        return;
    paintLane(m_rows.cutsTop());
    const auto& cuts = m_scene.project.edit.cuts;
    const double top = m_rows.cutsTop();
    const double bottom = m_rows.height();
    double tinted = -1; // The right end of the narrow cuts drawn so far, which may share pixels.
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        const auto span = shownSpan(Kind::cut, i, cuts[i]);
        if (!isSeen(span))
            continue;
        const QRectF where = place(span, top, bottom - top);
        const bool chosen = isChosen(Kind::cut, i);
        if (where.width() < narrowCut && !chosen) {
            // The edges of many narrow cuts would hide the tracks.
            const double left = std::max(std::floor(where.x()), tinted);
            const double right = std::max(std::ceil(where.right()), std::floor(where.x()) + 1);
            if (right > left)
                m_painter.fillRect(QRectF(left, top, right - left, where.height()), faded(m_scene.colors.cutEdge, 0.22));
            tinted = std::max(tinted, right);
            continue;
        }
        m_painter.fillRect(where, faded(m_scene.colors.panel, 0.72));
        m_painter.fillRect(where, QBrush(faded(m_scene.colors.cutEdge, 0.35), Qt::BDiagPattern));
        const QRectF head(where.x(), top, std::max(where.width(), minPillWidth), TimelineRows::lane);
        m_painter.fillRect(head, faded(m_scene.colors.cutEdge, chosen ? 0.75 : 0.4));
        m_painter.setPen(QPen(m_scene.colors.cutEdge, chosen ? 3 : 2));
        for (const double time : {span.start, span.end}) {
            const double x = std::round(m_scene.scale.x(time));
            if (x > -4 && x < m_scene.scale.width() + 4)
                m_painter.drawLine(QPointF(x, top), QPointF(x, bottom - TimelineRows::gap));
        }
    }
}

void TimelinePainter::paintSelection()
{
    const auto span = m_scene.selection;
    if (!(span.duration() > 0) || !isSeen(span))
        return;
    const double top = TimelineRows::ruler - 7;
    const double bottom = m_rows.height() - TimelineRows::gap;
    const QRectF where = place(span, m_rows.cutsTop(), bottom - m_rows.cutsTop());
    m_painter.fillRect(where, m_scene.colors.selection);
    m_painter.fillRect(place(span, top, 6), m_scene.colors.selection);
    m_painter.setPen(QPen(m_scene.colors.selectionEdge, 2));
    m_painter.setBrush(m_scene.colors.selectionEdge);
    for (const double time : {span.start, span.end}) {
        const double x = std::round(m_scene.scale.x(time));
        if (x < -8 || x > m_scene.scale.width() + 8)
            continue;
        m_painter.drawLine(QPointF(x, top), QPointF(x, bottom));
        const double middle = (m_rows.tracksTop() + bottom) / 2;
        m_painter.drawRoundedRect(QRectF(x - 3, middle - 11, 6, 22), 3, 3);
    }
}

} // namespace orvo
