#include "OrvoVideo/recorder/MicrophoneLevel.h"

#include "OrvoVideo/capture/audio/AudioLevel.h"
#include "VideoCore/Error.h"

#include <algorithm>

namespace orvo {

namespace {

constexpr int interval = 50; ///< Milliseconds between two measurements.
constexpr double fall = 0.05; ///< Maximum decay per interval.

} // namespace

MicrophoneLevel::MicrophoneLevel(QObject* parent)
    : QObject(parent)
{
    m_clock.setInterval(interval);
    connect(&m_clock, &QTimer::timeout, this, &MicrophoneLevel::measure);
}

MicrophoneLevel::~MicrophoneLevel()
{
    m_stream.shutDown();
}

void MicrophoneLevel::setDevice(const QString& device)
{
    if (m_device == device)
        return;
    m_device = device;
    emit deviceChanged();
    restart();
}

void MicrophoneLevel::setActive(bool active)
{
    if (m_active == active)
        return;
    m_active = active;
    emit activeChanged();
    restart();
}

void MicrophoneLevel::restart()
{
    m_clock.stop();
    m_stream.close();
    setLevel(0);
    setError({});
    if (m_active)
        listen();
}

QCoro::Task<> MicrophoneLevel::listen()
{
    try {
        co_await m_stream.open([device = m_device.toStdString()] {
            return AudioStream::open(AudioStream::Input::microphone, device, [](const AudioBlock&) { });
        });
    } catch (const Cancelled&) {
        co_return; // Another microphone was chosen, or this object is being destroyed.
    } catch (const std::exception& failure) {
        setError(QString::fromStdString(describe(failure)));
        co_return;
    }
    m_clock.start();
}

void MicrophoneLevel::measure()
{
    const double peak = m_stream.get()->takePeak();
    setLevel(std::max(audioLevel(peak), m_level - fall));
}

void MicrophoneLevel::setLevel(double level)
{
    if (m_level == level)
        return;
    m_level = level;
    emit levelChanged();
}

void MicrophoneLevel::setError(const QString& error)
{
    if (m_error == error)
        return;
    m_error = error;
    emit errorChanged();
}

} // namespace orvo
