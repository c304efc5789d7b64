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

/// Draws the part of a timeline that is seen. What it costs depends on the number of pixels and of things that are seen.
class TimelinePainter {
public:
    /// What is drawn. The references hold while it is drawn.
    struct Scene {
        const VideoProject& project;
        const TimelineScale& scale;
        TimeSpan selection;
        const MediaStrips& strips;
        const std::vector<std::filesystem::path>& files; ///< Of the tracks, in their order; empty for what cannot be shown.
        const TimelineColors& colors;
        QFont font; ///< Of the captions.
        TimelineTarget chosen; ///< What is marked; of the kind `none` for nothing.
        std::optional<TimeSpan> draft; ///< Where the marked thing is shown while it is dragged.
        double height = 0; ///< Of the view.
    };

    TimelinePainter(QPainter& painter, const Scene& scene);

    void paint();

    /// The pictures that were not there, those in the middle of the view first.
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
