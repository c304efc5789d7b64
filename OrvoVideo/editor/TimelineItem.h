#pragma once

#include "EditorGeometry/Snapping.h"
#include "OrvoVideo/editor/MediaStrips.h"
#include "OrvoVideo/editor/TimelinePainter.h"
#include "OrvoVideo/model/AppModel.h"

#include <QPointer>
#include <QQuickPaintedItem>
#include <optional>

namespace orvo {

/// The timeline of the open project: ruler, lanes and tracks, drawn and worked with the pointer and from the keyboard.
///
/// It shows and speaks the playhead but does not draw it (`playheadX`), so that playing costs no drawing. What is dragged is
/// shown where it would be and changed in the document when it is let go, as one step to undo.
class TimelineItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(TimelineCanvas)
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    /// The colours by the names of `TimelineColors`.
    Q_PROPERTY(QVariantMap colors WRITE setColors READ colors NOTIFY colorsChanged)
    Q_PROPERTY(QFont font READ font WRITE setFont NOTIFY fontChanged)
    /// The height that all rows need.
    Q_PROPERTY(double contentHeight READ contentHeight NOTIFY rowsChanged)
    /// Where the rows lie: the tops of `zooms`, `overlays` and `cuts`, each only if there is one, those of all `tracks` in
    /// the document's order, and the heights of a `lane` and a `track`.
    Q_PROPERTY(QVariantMap rows READ rows NOTIFY rowsChanged)
    Q_PROPERTY(double playheadX READ playheadX NOTIFY playheadChanged)
    // What is shown, as a scroll bar wants it: fractions of the recording.
    Q_PROPERTY(bool fits READ fits NOTIFY viewChanged)
    Q_PROPERTY(double shownPosition READ shownPosition NOTIFY viewChanged)
    Q_PROPERTY(double shownSize READ shownSize NOTIFY viewChanged)
    Q_PROPERTY(double pixelsPerSecond READ pixelsPerSecond NOTIFY viewChanged)
    /// Where what is dragged holds on; below 0 when nothing does.
    Q_PROPERTY(double snapX READ snapX NOTIFY snapChanged)
    /// "", "cut", "zoom" or "overlay".
    Q_PROPERTY(QString chosenKind READ chosenKind NOTIFY chosenChanged)
    /// Whether it has the keyboard because somebody works with the keyboard.
    Q_PROPERTY(bool visualFocus READ visualFocus NOTIFY visualFocusChanged)
    // The waveforms that are being read.
    Q_PROPERTY(bool preparing READ preparing NOTIFY preparingChanged)
    Q_PROPERTY(bool preparingCancelled READ preparingCancelled NOTIFY preparingChanged)
    Q_PROPERTY(double preparingProgress READ preparingProgress NOTIFY preparingChanged)
    // What assistive technology reads, by the names it looks for.
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

    /// The open project; null without one.
    const VideoProject* project() const;
    const TimelineColors& palette() const { return m_colors; }
    /// The waveform of the track with this place in the document; null while it is not there.
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

    /// Magnifies; the playhead stays where it is. If it is out of sight, what is at `x` stays, or for an `x` below 0 the
    /// playhead comes to the middle.
    Q_INVOKABLE void zoomBy(double factor, double x = -1);
    Q_INVOKABLE void fit();
    /// Shows the recording from this fraction of it on.
    Q_INVOKABLE void showFrom(double fraction);
    Q_INVOKABLE void scrollBy(double pixels);

    /// Scrolls as little as needed to show the playhead.
    Q_INVOKABLE void revealPlayhead();

    /// Moves the playhead to the next or the previous edge of anything.
    Q_INVOKABLE void goToEdge(bool forward);
    /// Marks the cut, zoom point or overlay that begins next after (or before) the marked one or the playhead, and goes
    /// there.
    Q_INVOKABLE void chooseNext(bool forward);
    /// Moves the marked thing by frames (of a cut, its beginning), or its end alone.
    Q_INVOKABLE void nudgeChosen(int frames, bool end);
    /// Removes the marked zoom point or overlay. False when none is marked.
    Q_INVOKABLE bool removeChosen();
    /// Restores the marked cut, or the one under the playhead. False when there is none.
    Q_INVOKABLE bool restoreChosen();
    /// Gives up the drag under way, if any; otherwise what is marked. False when there is neither.
    Q_INVOKABLE bool letGo();

    Q_INVOKABLE void cancelPreparing() { m_strips.cancel(); }
    Q_INVOKABLE void resumePreparing() { m_strips.resume(); }

    /// The place of a time, and the time of a place, as shown now.
    Q_INVOKABLE double xOf(double seconds) const { return m_scale.x(seconds); }
    Q_INVOKABLE double timeAt(double x) const { return m_scale.time(x); }

    void paint(QPainter* painter) override;

signals:
    void modelChanged();
    void colorsChanged();
    void fontChanged();
    void rowsChanged();
    /// There are more pictures or waveforms.
    void stripsChanged();
    void playheadChanged();
    void viewChanged();
    void snapChanged();
    void chosenChanged();
    void visualFocusChanged();
    void preparingChanged();
    /// A zoom point ("zoom") or an overlay ("overlay") with this identifier was clicked.
    void cardWanted(const QString& kind, const QString& id);
    /// Something to be spoken by assistive technology.
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
    /// What the pointer does while it is pressed.
    struct Drag {
        TimelineTarget target;
        QPointF from;
        double grip = 0; ///< Seconds between the dragged edge and the place where it was taken.
        bool moved = false; ///< Whether it went far enough to be a drag.
    };

    void setVisualFocus(bool visible);
    void showProject();
    void showPlayhead();
    void scaleChanged();
    TimelineTarget targetAt(QPointF place) const;
    std::optional<TimelineTarget> targetOf(TimelineTarget::Kind kind, std::size_t index) const;
    void choose(const TimelineTarget& target);
    void apply(const TimelineTarget& target, TimeSpan span);
    double snapped(double time, std::span<const double> left, bool held);
    void setSnap(std::optional<double> time);
    void drag(QPointF place, bool held);
    void dragSelection(double time, bool held);
    TimeSpan draggedSpan(double time, bool held);
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
