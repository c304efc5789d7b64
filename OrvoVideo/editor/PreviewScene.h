#pragma once

#include "EditorGeometry/PreviewGeometry.h"
#include "OrvoVideo/model/AppModel.h"

#include <QPointer>
#include <QRectF>
#include <QSizeF>
#include <QVariantList>

namespace orvo {

/// The current layout of the preview, as an export burns it in: the frame in the view, its magnification, the pointer marks
/// and the camera.
///
/// Positions on the frame are view pixels from its top left corner. `pixel` is the size of one export pixel in view pixels.
class PreviewScene : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    Q_PROPERTY(QSizeF viewSize READ viewSize WRITE setViewSize NOTIFY viewSizeChanged)
    /// Whether the media of the open project are loading, and whether they failed to load.
    Q_PROPERTY(bool loading READ loading NOTIFY previewChanged)
    Q_PROPERTY(bool failed READ failed NOTIFY previewChanged)
    /// The frame in the view, in view pixels.
    Q_PROPERTY(QRectF frame READ frame NOTIFY placesChanged)
    Q_PROPERTY(double pixel READ pixel NOTIFY placesChanged)
    Q_PROPERTY(int textSize READ textSize NOTIFY placesChanged)
    Q_PROPERTY(QSize frameSize READ frameSize NOTIFY placesChanged)
    Q_PROPERTY(QRectF camera READ camera NOTIFY placesChanged)
    /// Whether the camera is visible at the current time.
    Q_PROPERTY(bool cameraShown READ cameraShown NOTIFY cameraShownChanged)
    // The state at the current time.
    Q_PROPERTY(double time READ time NOTIFY timeChanged)
    Q_PROPERTY(double zoomScale READ zoomScale NOTIFY timeChanged)
    Q_PROPERTY(QPointF zoomOffset READ zoomOffset NOTIFY timeChanged)
    Q_PROPERTY(bool pointerShown READ pointerShown NOTIFY timeChanged)
    Q_PROPERTY(QPointF pointer READ pointer NOTIFY timeChanged)
    /// How black the film is, 0..1: it fades at both ends of every kept span.
    Q_PROPERTY(double dip READ dip NOTIFY timeChanged)
    /// How black the recorded video alone is, 0..1, below the marks and overlays.
    Q_PROPERTY(double clipDip READ clipDip NOTIFY timeChanged)
    /// Identifier of the zoom point that the user is framing; empty for none. While the playhead is inside that zoom point,
    /// the preview shows the whole frame.
    Q_PROPERTY(QString framedZoom READ framedZoom WRITE setFramedZoom NOTIFY framedZoomChanged)
    Q_PROPERTY(bool framing READ framing NOTIFY timeChanged)
    /// The part that this zoom point magnifies, in fractions of the frame.
    Q_PROPERTY(QRectF zoomPart READ zoomPart NOTIFY timeChanged)
    /// The click halos: maps of `x`, `y` and `progress` (0..1).
    Q_PROPERTY(QVariantList halos READ halos NOTIFY halosChanged)
public:
    explicit PreviewScene(QObject* parent = nullptr);

    AppModel* model() const { return m_model; }
    void setModel(AppModel* model);
    QSizeF viewSize() const { return m_viewSize; }
    void setViewSize(const QSizeF& size);

    bool loading() const { return m_model && m_model->preview() == Playback::Preview::Loading; }
    bool failed() const { return m_model && m_model->preview() == Playback::Preview::Failed; }

    QRectF frame() const { return m_frame; }
    double pixel() const { return m_pixel; }
    int textSize() const { return PreviewGeometry::textSize(m_frameSize.height()); }
    QSize frameSize() const { return m_frameSize; }
    QRectF camera() const { return m_camera; }
    bool cameraShown() const { return m_cameraShown; }

    double time() const { return m_time; }
    double zoomScale() const { return m_zoom.scale; }
    QPointF zoomOffset() const { return {m_zoom.x, m_zoom.y}; }
    QString framedZoom() const { return m_framedZoom; }
    void setFramedZoom(const QString& id);
    bool framing() const { return m_zoomPart.has_value(); }
    QRectF zoomPart() const { return m_zoomPart.value_or(QRectF(0, 0, 1, 1)); }
    double dip() const { return m_dip; }
    double clipDip() const { return m_clipDip; }
    bool pointerShown() const { return m_pointer.has_value(); }
    QPointF pointer() const;
    QVariantList halos() const;

signals:
    void modelChanged();
    void previewChanged();
    void viewSizeChanged();
    void placesChanged();
    void cameraShownChanged();
    void timeChanged();
    void framedZoomChanged();
    void halosChanged();

private:
    const VideoProject* project() const;
    void place();
    void follow();
    void takeCameraShape();
    void updateCameraShown();
    void frameZoom();
    double dipAt(double time) const;
    double clipDipAt(double time) const;

    QPointer<AppModel> m_model;
    QSizeF m_viewSize;
    QSize m_cameraShape; ///< Size of the last camera frame; empty without one.
    QRectF m_frame;
    QSize m_frameSize;
    double m_pixel = 1;
    QRectF m_camera;
    bool m_cameraShown = false;

    PreviewGeometry::PointerTrail m_trail;
    double m_time = 0;
    PreviewGeometry::Zoom m_zoom;
    QString m_framedZoom;
    std::optional<QRectF> m_zoomPart; ///< Set while a zoom point is being framed.
    double m_dip = 0;
    double m_clipDip = 0;
    std::optional<PreviewGeometry::PointerTrail::Place> m_pointer;
    std::vector<PreviewGeometry::PointerTrail::Halo> m_halos;
};

} // namespace orvo
