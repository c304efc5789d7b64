#include "OrvoVideo/editor/TimelineOverview.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace orvo {

namespace {

constexpr double corner = 5;
constexpr double markHeight = 3;

} // namespace

TimelineOverview::TimelineOverview(QQuickItem* parent)
    : QQuickPaintedItem(parent)
{
}

void TimelineOverview::setTimeline(TimelineItem* timeline)
{
    if (m_timeline == timeline)
        return;
    if (m_timeline)
        m_timeline->disconnect(this);
    m_timeline = timeline;
    if (m_timeline) {
        for (const auto change : {&TimelineItem::rowsChanged, &TimelineItem::colorsChanged, &TimelineItem::stripsChanged})
            connect(m_timeline, change, this, [this] { update(); });
    }
    update();
    emit timelineChanged();
}

void TimelineOverview::paint(QPainter* painter)
{
    const auto* project = m_timeline ? m_timeline->project() : nullptr;
    if (!project || !(project->duration > 0))
        return;
    const auto& colors = m_timeline->palette();
    const double scale = width() / project->duration;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(colors.panel);
    painter->drawRoundedRect(boundingRect(), corner, corner);

    // The voice, or else the first track with audio.
    const WaveformPeaks* audio = nullptr;
    const MediaTrack* heard = nullptr;
    for (std::size_t i = 0; i < project->tracks.size(); ++i) {
        const auto& track = project->tracks[i];
        const auto* peaks = m_timeline->peaksOf(i);
        if (peaks && (!audio || (track.kind == TrackKind::microphone && heard->kind != TrackKind::microphone))) {
            audio = peaks;
            heard = &track;
        }
    }
    if (audio) {
        const double middle = height() / 2;
        const double reach = middle - markHeight;
        painter->setBrush(faded(colors.accentInk, 0.6));
        for (int x = 0; x < static_cast<int>(width()); ++x) {
            const double time = x / scale - heard->start;
            const auto peak = audio->between(time, time + 1 / scale);
            const double loud = std::min<double>(std::max(peak.high, -peak.low), 1);
            painter->drawRect(QRectF(x, middle - loud * reach - 0.5, 1, 2 * loud * reach + 1));
        }
    }
    double drawn = 0;
    for (const auto& cut : project->edit.cuts) {
        const double left = std::max(std::floor(cut.start * scale), drawn);
        const double right = std::max(std::ceil(cut.end * scale), std::floor(cut.start * scale) + 1);
        if (right > left)
            painter->fillRect(QRectF(left, 0, right - left, height()), faded(colors.cutEdge, 0.3));
        drawn = std::max(drawn, right);
    }
    const auto mark = [&](double from, double to, double y) {
        painter->fillRect(QRectF(from * scale, y, std::max((to - from) * scale, 2.0), markHeight), colors.accentInk);
    };
    for (const auto& event : project->edit.events) {
        if (event.kind == PointerKind::zoom)
            mark(event.time, event.time + event.duration, 0);
    }
    for (const auto& overlay : project->edit.overlays)
        mark(overlay.start, overlay.end, height() - markHeight);
}

} // namespace orvo
