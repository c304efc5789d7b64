#pragma once

#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/recorder/DeviceStream.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// Measures the level of a microphone while `active`. Stores nothing.
class MicrophoneLevel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// The identifier of a microphone; empty selects the default one.
    Q_PROPERTY(QString device READ device WRITE setDevice NOTIFY deviceChanged)
    Q_PROPERTY(bool active READ active WRITE setActive NOTIFY activeChanged)
    /// 0 is silence (−60 dB or less), 1 full scale. Decays slowly, so that it is readable.
    Q_PROPERTY(double level READ level NOTIFY levelChanged)
    /// Why there is no level; empty while there is one.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
public:
    explicit MicrophoneLevel(QObject* parent = nullptr);
    ~MicrophoneLevel() override;

    QString device() const { return m_device; }
    void setDevice(const QString& device);
    bool active() const { return m_active; }
    void setActive(bool active);
    double level() const { return m_level; }
    QString error() const { return m_error; }

signals:
    void deviceChanged();
    void activeChanged();
    void levelChanged();
    void errorChanged();

private:
    void restart();
    QCoro::Task<> listen();
    void measure();
    void setLevel(double level);
    void setError(const QString& error);

    QString m_device;
    bool m_active = false;
    double m_level = 0;
    QString m_error;
    QTimer m_clock;
    DeviceStream<AudioStream> m_stream;
};

} // namespace orvo
