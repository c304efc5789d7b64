#include "Platform/attention/LauncherProgress.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantMap>

namespace orvo::LauncherProgress {

namespace {

void update(const QVariantMap& properties)
{
    auto signal = QDBusMessage::createSignal(QStringLiteral("/es/orvo/video/LauncherEntry"),
        QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    signal << QStringLiteral("application://es.orvo.video.desktop") << properties;
    QDBusConnection::sessionBus().send(signal);
}

} // namespace

void show(double progress)
{
    update({{QStringLiteral("progress"), progress}, {QStringLiteral("progress-visible"), true}});
}

void hide()
{
    update({{QStringLiteral("progress"), 0.0}, {QStringLiteral("progress-visible"), false}});
}

} // namespace orvo::LauncherProgress
