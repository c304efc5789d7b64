#include "OrvoVideo/recording/CaptureDevices.h"

#include "Platform/capture/AudioInputs.h"
#include "Platform/capture/Cameras.h"
#include "VideoCore/Error.h"

#include <QScopeGuard>
#include <vector>

namespace orvo {

namespace {

struct Found {
    AudioInputs::Devices sound;
    std::vector<CameraDevice> cameras;
};

/// Blocks.
Found look()
{
    Found found;
    try {
        found.sound = AudioInputs::list();
    } catch (const Error&) {
        // Without a sound server there are none.
    }
    try {
        found.cameras = Cameras::list();
    } catch (const Error&) {
        // Nothing that gives pictures.
    }
    return found;
}

template <typename Device> QVariantList listOf(const QString& usual, const std::vector<Device>& devices)
{
    const auto entry = [](const QString& id, const QString& label) {
        return QVariantMap{{QStringLiteral("id"), id}, {QStringLiteral("label"), label}};
    };
    QVariantList list{entry({}, usual)};
    for (const auto& device : devices)
        list << entry(QString::fromStdString(device.id), QString::fromStdString(device.label));
    return list;
}

} // namespace

CaptureDevices::CaptureDevices(QObject* parent)
    : QObject(parent)
{
    refresh();
}

CaptureDevices::~CaptureDevices()
{
    m_workers.shutDown();
}

void CaptureDevices::refresh()
{
    if (!m_listing)
        list();
}

QCoro::Task<> CaptureDevices::list()
{
    m_listing = true;
    const auto done = qScopeGuard([this] { m_listing = false; });
    Found found;
    try {
        found = co_await m_workers.run(look);
    } catch (const Cancelled&) {
        co_return; // This object is going.
    }
    const auto microphones = listOf(QStringLiteral("Micrófono predeterminado"), found.sound.microphones);
    const auto outputs = listOf(QStringLiteral("Salida predeterminada"), found.sound.outputs);
    const auto cameras = listOf(QStringLiteral("Primera cámara"), found.cameras);
    if (microphones == m_microphones && outputs == m_outputs && cameras == m_cameras)
        co_return;
    m_microphones = microphones;
    m_outputs = outputs;
    m_cameras = cameras;
    emit listed();
}

int CaptureDevices::rowOf(const QVariantList& devices, const QString& id)
{
    for (qsizetype row = 0; row < devices.size(); ++row) {
        if (devices[row].toMap().value(QStringLiteral("id")) == id)
            return static_cast<int>(row);
    }
    return 0;
}

} // namespace orvo
