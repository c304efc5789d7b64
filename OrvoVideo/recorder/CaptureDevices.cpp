#include "OrvoVideo/recorder/CaptureDevices.h"

#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/capture/camera/Cameras.h"
#include "VideoCore/Error.h"

#include <QScopeGuard>
#include <algorithm>
#include <vector>

namespace orvo {

namespace {

struct Found {
    AudioInputs::Devices audio;
    std::vector<CameraDevice> cameras;
};

/// Blocks.
Found look()
{
    Found found;
    try {
        found.audio = AudioInputs::list();
    } catch (const Error&) {
        // Without an audio server there are no audio devices.
    }
    try {
        found.cameras = Cameras::list();
    } catch (const Error&) {
        // No cameras.
    }
    return found;
}

QVariant entry(const QString& id, const QString& label)
{
    return QVariantMap{{QStringLiteral("id"), id}, {QStringLiteral("label"), label}};
}

QString idOf(const QVariant& device)
{
    return device.toMap().value(QStringLiteral("id")).toString();
}

QString labelOf(const QVariant& device)
{
    return device.toMap().value(QStringLiteral("label")).toString();
}

template <typename Device> QVariantList listOf(const QString& usual, const std::vector<Device>& devices)
{
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
        co_return; // This object is being destroyed.
    }
    const auto microphones = listOf(QStringLiteral("Micrófono predeterminado"), found.audio.microphones);
    const auto outputs = listOf(QStringLiteral("Salida predeterminada"), found.audio.outputs);
    const auto cameras = listOf(QStringLiteral("Primera cámara"), found.cameras);
    if (microphones == m_microphones && outputs == m_outputs && cameras == m_cameras)
        co_return;
    m_microphones = microphones;
    m_outputs = outputs;
    m_cameras = cameras;
    for (const auto& list : {microphones, outputs, cameras}) {
        for (const auto& device : list)
            m_labels.insert(idOf(device), labelOf(device));
    }
    emit listed();
}

bool CaptureDevices::isThere(const QVariantList& devices, const QString& id)
{
    return id.isEmpty() || devices.isEmpty() || std::ranges::contains(devices, id, idOf);
}

QVariantList CaptureDevices::withChosen(const QVariantList& devices, const QString& id) const
{
    if (isThere(devices, id))
        return devices;
    return devices
        + QVariantList{
            entry(id, m_labels.value(id, QStringLiteral("Otro dispositivo")) + QStringLiteral(" (desconectado)"))};
}

int CaptureDevices::rowOf(const QVariantList& devices, const QString& id)
{
    const auto found = std::ranges::find(devices, id, idOf);
    return found == devices.end() ? 0 : static_cast<int>(found - devices.begin());
}

} // namespace orvo
