#pragma once

#include "OrvoVideo/editor/TimelineItem.h"

#include <QPointer>
#include <QQuickPaintedItem>

namespace orvo {

/// The whole recording in a narrow strip: the voice, the cuts, the zoom points and the overlays. TimelineView.qml draws the
/// playhead and the visible part of the timeline over it.
class TimelineOverview : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::TimelineItem* timeline READ timeline WRITE setTimeline NOTIFY timelineChanged REQUIRED)
public:
    explicit TimelineOverview(QQuickItem* parent = nullptr);

    TimelineItem* timeline() const { return m_timeline; }
    void setTimeline(TimelineItem* timeline);

    void paint(QPainter* painter) override;

signals:
    void timelineChanged();

private:
    QPointer<TimelineItem> m_timeline;
};

} // namespace orvo
