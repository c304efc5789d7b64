#pragma once

#include "EditorGeometry/Snapping.h"
#include "OrvoVideo/editor/MediaStrips.h"
#include "OrvoVideo/editor/TimelinePainter.h"
#include "OrvoVideo/model/AppModel.h"

#include <QPointer>
#include <QQuickPaintedItem>
#include <optional>

namespace orvo {

/// The timeline of the open project: ruler, lanes and tracks, with pointer and keyboard input.
///
/// The playhead is a separate item at `playheadX`, so that playback causes no repaints. A drag shows a draft and changes the
/// document on release, as one undo step.
class TimelineItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(TimelineCanvas)
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    /// The colours by the names of `TimelineColors`.
    Q_PROPERTY(QVariantMap colors WRITE setColors READ colors NOTIFY colorsChanged)
    Q_PROPERTY(QFont font READ font WRITE setFont NOTIFY fontChanged)
    /// The height of all rows, in pixels.
    Q_PROPERTY(double contentHeight READ contentHeight NOTIFY rowsChanged)
    /// The layout of the rows: the tops of `zooms`, `overlays` and `cuts` (absent for an empty lane), of all `tracks` in
    /// document order, and the heights of a `lane` and a `track`.
    Q_PROPERTY(QVariantMap rows READ rows NOTIFY rowsChanged)
    Q_PROPERTY(double playheadX READ playheadX NOTIFY playheadChanged)
    // The visible span in fractions of the recording, for a scroll bar.
    Q_PROPERTY(bool fits READ fits NOTIFY viewChanged)
    Q_PROPERTY(double shownPosition READ shownPosition NOTIFY viewChanged)
    Q_PROPERTY(double shownSize READ shownSize NOTIFY viewChanged)
    Q_PROPERTY(double pixelsPerSecond READ pixelsPerSecond NOTIFY viewChanged)
    /// The position to which the drag snaps; below 0 if it does not.
    Q_PROPERTY(double snapX READ snapX NOTIFY snapChanged)
    /// Kind of the marked item: "cut", "zoom", "overlay", or "" for none.
    Q_PROPERTY(QString chosenKind READ chosenKind NOTIFY chosenChanged)
    /// Whether the keyboard, not the pointer, gave the timeline the focus.
    Q_PROPERTY(bool visualFocus READ visualFocus NOTIFY visualFocusChanged)
    // The state of reading waveforms.
    Q_PROPERTY(bool preparing READ preparing NOTIFY preparingChanged)
    Q_PROPERTY(bool preparingCancelled READ preparingCancelled NOTIFY preparingChanged)
    Q_PROPERTY(double preparingProgress READ preparingProgress NOTIFY preparingChanged)
    // The properties that Qt Quick exposes to assistive technology by name.
    Q_PROPERTY(double value READ playhead WRITE setPlayhead NOTIFY playheadChanged)
    Q_PROPERTY(double minimumValue READ minimumValue CONSTANT)
    Q_PROPERTY(double maximumValue READ duration NOTIFY rowsChanged)
    Q_PROPERTY(double stepSize READ frame NOTIFY rowsChanged)
    /// The playhead in words: "1 minuto 5,2 segundos de 3 minutos 0,0 segundos, dentro de un corte".
    Q_PROPERTY(QString spokenPosition READ spokenPosition NOTIFY playheadChanged)

public:
    explicit TimelineItem(QQuickItem* parent = nullptr);

    AppModel* model() const { return m_model; }
    void setModel(AppModel* model);
    QVariantMap colors() const { return m_colorMap; }
    void setColors(const QVariantMap& colors);
    QFont font() const { return m_font; }
    void setFont(const QFont& font);

    /// The open project; null if there is none.
    const VideoProject* project() const;
    const TimelineColors& palette() const { return m_colors; }
    /// The waveform of the track with this index in the document; null until it is read.
    const WaveformPeaks* peaksOf(std::size_t track) const;

    double contentHeight() const { return m_rows.height(); }
    QVariantMap rows() const;
    double playheadX() const { return m_scale.x(playhead()); }
    bool fits() const { return m_scale.fits(); }
    double shownPosition() const;
    double shownSize() const;
    double pixelsPerSecond() const { return m_scale.pixelsPerSecond(); }
    double snapX() const { return m_snap ? m_scale.x(*m_snap) : -1; }
    QString chosenKind() const;
    bool visualFocus() const { return m_visualFocus; }
    bool preparing() const { return m_strips.preparing(); }
    bool preparingCancelled() const { return m_strips.cancelled(); }
    double preparingProgress() const { return m_strips.progress(); }
    double playhead() const { return m_model ? m_model->playhead() : 0; }
    void setPlayhead(double seconds);
    double minimumValue() const { return 0; }
    double duration() const;
    double frame() const;
    QString spokenPosition() const;

    /// Magnifies around the playhead. If the playhead is out of view, magnifies around `x`; if `x` is below 0, centres the
    /// playhead.
    Q_INVOKABLE void zoomBy(double factor, double x = -1);
    Q_INVOKABLE void fit();
    /// Scrolls the left edge to this fraction of the recording.
    Q_INVOKABLE void showFrom(double fraction);
    Q_INVOKABLE void scrollBy(double pixels);

    /// Scrolls the minimum distance to show the playhead.
    Q_INVOKABLE void revealPlayhead();

    /// Moves the playhead to the next or previous edge of an item or of the recording.
    Q_INVOKABLE void goToEdge(bool forward);
    /// Marks the next (or previous) cut, zoom point or overlay, by start time, from the marked one or else the playhead.
    /// Moves the playhead to its start.
    Q_INVOKABLE void chooseNext(bool forward);
    /// Moves the marked item by frames: its end if `end`; otherwise the start of a cut, or the whole of any other item.
    Q_INVOKABLE void nudgeChosen(int frames, bool end);
    /// Removes the marked zoom point or overlay. Returns false if none is marked.
    Q_INVOKABLE bool removeChosen();
    /// Restores the marked cut, or else the cut under the playhead. Returns false if there is none.
    Q_INVOKABLE bool restoreChosen();
    /// Cancels the drag, or else clears the mark. Returns false if there is neither.
    Q_INVOKABLE bool letGo();

    Q_INVOKABLE void cancelPreparing() { m_strips.cancel(); }
    Q_INVOKABLE void resumePreparing() { m_strips.resume(); }

    /// Converts between seconds and positions at the current scale and offset.
    Q_INVOKABLE double xOf(double seconds) const { return m_scale.x(seconds); }
    Q_INVOKABLE double timeAt(double x) const { return m_scale.time(x); }

    void paint(QPainter* painter) override;

signals:
    void modelChanged();
    void colorsChanged();
    void fontChanged();
    void rowsChanged();
    /// More frames or waveforms are available.
    void stripsChanged();
    void playheadChanged();
    void viewChanged();
    void snapChanged();
    void chosenChanged();
    void visualFocusChanged();
    void preparingChanged();
    /// The user clicked a zoom point (`kind` "zoom") or an overlay ("overlay").
    void cardWanted(const QString& kind, const QString& id);
    /// Requests that assistive technology speak a text.
    void spoke(const QString& text);

protected:
    bool event(QEvent* event) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void hoverMoveEvent(QHoverEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    /// The state of a press.
    struct Drag {
        TimelineTarget target;
        QPointF from;
        double grip = 0; ///< Seconds from the pressed position to the dragged edge.
        bool moved = false; ///< Whether the pointer moved far enough for a drag.
    };

    void setVisualFocus(bool visible);
    void showProject();
    void showPlayhead();
    void scaleChanged();
    TimelineTarget targetAt(QPointF place) const;
    std::optional<TimelineTarget> targetOf(TimelineTarget::Kind kind, std::size_t index) const;
    void choose(const TimelineTarget& target);
    void apply(const TimelineTarget& target, TimeSpan span);
    double snapped(double time, std::span<const double> ignored, bool snaps);
    void setSnap(std::optional<double> time);
    void drag(QPointF place, bool snaps);
    void dragSelection(double time, bool snaps);
    TimeSpan draggedSpan(double time, bool snaps);
    void endDrag();

    QPointer<AppModel> m_model;
    TimelineScale m_scale;
    SharedList<MediaTrack> m_tracks;
    TimelineRows m_rows;
    bool m_recording = false;
    Uuid m_projectId;
    std::vector<std::filesystem::path> m_files;
    Snapping m_snapping;
    bool m_visualFocus = false;
    MediaStrips m_strips;

    QVariantMap m_colorMap;
    TimelineColors m_colors;
    QFont m_font;

    TimelineTarget m_chosen;
    std::optional<Drag> m_drag;
    std::optional<TimeSpan> m_draft;
    std::optional<double> m_snap;
};

} // namespace orvo
