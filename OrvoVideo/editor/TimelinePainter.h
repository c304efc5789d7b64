#pragma once

#include "EditorGeometry/TimelineTargets.h"
#include "OrvoVideo/editor/MediaStrips.h"

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QVariantMap>
#include <optional>

namespace orvo {

/// The colours of the timeline.
struct TimelineColors {
    QColor window;
    QColor panel;
    QColor raised;
    QColor line;
    QColor text;
    QColor secondaryText;
    QColor accent;
    QColor onAccent;
    QColor accentInk;
    QColor selection;
    QColor selectionEdge;
    QColor cut;
    QColor cutEdge;

    /// From a map with the names above.
    static TimelineColors from(const QVariantMap& map);
};

/// The colour with its opacity multiplied by `opacity`, from 0 to 1.
QColor faded(QColor color, double opacity);

/// Draws the visible part of a timeline. The cost depends on the number of visible pixels and items.
class TimelinePainter {
public:
    /// The drawing state. References must stay valid during a paint.
    struct Scene {
        const VideoProject& project;
        const TimelineScale& scale;
        TimeSpan selection;
        const MediaStrips& strips;
        const std::vector<std::filesystem::path>& files; ///< The file of each track; empty if not shown.
        const TimelineColors& colors;
        QFont font; ///< Font of the captions.
        TimelineTarget chosen; ///< The marked item; kind `none` if there is none.
        std::optional<TimeSpan> draft; ///< Span of the marked item during a drag.
        double height = 0; ///< Height of the view, in pixels.
    };

    TimelinePainter(QPainter& painter, const Scene& scene);

    void paint();

    /// The frames missing from `strips`, those in the middle of the view first.
    std::vector<MediaStrips::FrameKey> takeMissing();

private:
    using Kind = TimelineTarget::Kind;

    void paintRuler();
    void paintZooms();
    void paintOverlays();
    void paintTracks();
    void paintFrames(const MediaTrack& track, const std::filesystem::path& file, const QRectF& row);
    void paintWaveform(const MediaTrack& track, const WaveformPeaks& peaks, const QRectF& row);
    void paintCuts();
    void paintSelection();
    void paintPill(const QRectF& place, const QString& text, bool chosen, const QColor& fill, const QColor& ink);
    void paintLane(double top);

    TimeSpan shownSpan(Kind kind, std::size_t index, TimeSpan span) const;
    bool isChosen(Kind kind, std::size_t index) const;
    bool isSeen(TimeSpan span) const;
    QRectF place(TimeSpan span, double top, double height) const;

    QPainter& m_painter;
    const Scene& m_scene;
    TimelineRows m_rows;
    TimeSpan m_visible;
    std::vector<MediaStrips::FrameKey> m_missing;
};

} // namespace orvo
