#pragma once

#include "OrvoVideo/capture/camera/Cameras.h"
#include "OrvoVideo/recorder/DeviceStream.h"

#include <QCoroTask>
#include <QImage>
#include <QQuickPaintedItem>
#include <QString>

namespace orvo {

/// Shows the live image of a camera while `active`. Stores nothing.
class CameraMirror : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    /// The identifier of a camera; empty selects the first one.
    Q_PROPERTY(QString device READ device WRITE setDevice NOTIFY deviceChanged)
    Q_PROPERTY(bool active READ active WRITE setActive NOTIFY activeChanged)
    /// Whether a frame is shown.
    Q_PROPERTY(bool showing READ showing NOTIFY showingChanged)
    /// Why no frame is shown; empty while unknown.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
public:
    explicit CameraMirror(QQuickItem* parent = nullptr);
    ~CameraMirror() override;

    QString device() const { return m_device; }
    void setDevice(const QString& device);
    bool active() const { return m_active; }
    void setActive(bool active);
    bool showing() const { return !m_frame.isNull(); }
    QString error() const { return m_error; }

    void paint(QPainter* painter) override;

signals:
    void deviceChanged();
    void activeChanged();
    void showingChanged();
    void errorChanged();

private:
    struct Latest;

    void restart();
    QCoro::Task<> watch();
    void show(const QImage& frame);
    void setError(const QString& error);

    QString m_device;
    bool m_active = false;
    QString m_error;
    QImage m_frame;
    DeviceStream<CameraStream> m_stream;
};

} // namespace orvo
