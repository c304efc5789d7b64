#include "OrvoVideo/shell/DesktopActivation.h"

#include <QDBusConnection>
#include <QUrl>

namespace orvo {

namespace {

const QString busName = QStringLiteral("es.orvo.video");
const QString objectPath = QStringLiteral("/es/orvo/video");

/// The token that lets the window come to the front: Wayland's, or the older one of X11.
QString activationToken(const QVariantMap& platformData)
{
    const QString token = platformData.value(QStringLiteral("activation-token")).toString();
    return token.isEmpty() ? platformData.value(QStringLiteral("desktop-startup-id")).toString() : token;
}

} // namespace

DesktopActivation::DesktopActivation(QObject* parent)
    : QObject(parent)
{
    auto bus = QDBusConnection::sessionBus();
    // The object first: the bus delivers pending calls as soon as the name is registered.
    if (bus.isConnected() && bus.registerObject(objectPath, this, QDBusConnection::ExportScriptableSlots))
        bus.registerService(busName);
}

DesktopActivation::~DesktopActivation()
{
    auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        bus.unregisterService(busName);
        bus.unregisterObject(objectPath);
    }
}

void DesktopActivation::Activate(const QVariantMap& platformData)
{
    emit activated({}, activationToken(platformData));
}

void DesktopActivation::Open(const QStringList& uris, const QVariantMap& platformData)
{
    QStringList files;
    for (const QString& uri : uris) {
        if (const QUrl url(uri); url.isLocalFile())
            files += url.toLocalFile();
    }
    emit activated(files, activationToken(platformData));
}

void DesktopActivation::ActivateAction(
    const QString& /*name*/, const QVariantList& /*parameter*/, const QVariantMap& platformData)
{
    Activate(platformData);
}

} // namespace orvo
