#include "Platform/attention/DesktopNotices.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>
#include <utility>

namespace orvo {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString openAction = QStringLiteral("default"); // By this name desktops know the notice itself.
const QString buttonAction = QStringLiteral("button");

} // namespace

DesktopNotices::DesktopNotices(QObject* parent)
    : QObject(parent)
{
    QDBusConnection::sessionBus().connect(
        service, path, service, QStringLiteral("ActionInvoked"), this, SLOT(invoked(uint, QString)));
}

void DesktopNotices::show(const QString& title, const QString& text, const QString& buttonText)
{
    constexpr int asTheDesktopLikes = -1; // Milliseconds.
    auto call = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("Notify"));
    call << QStringLiteral("Orvo Video") << m_shown << QStringLiteral("es.orvo.video") << title << text.toHtmlEscaped()
         << QStringList{openAction, QStringLiteral("Abrir Orvo Video"), buttonAction, buttonText}
         << QVariantMap{{QStringLiteral("desktop-entry"), QStringLiteral("es.orvo.video")}} << asTheDesktopLikes;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<uint> reply = *finished;
        if (reply.isValid())
            m_shown = reply.value();
    });
}

void DesktopNotices::hide()
{
    if (m_shown == 0)
        return;
    auto call = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("CloseNotification"));
    call << std::exchange(m_shown, 0);
    QDBusConnection::sessionBus().asyncCall(call);
}

void DesktopNotices::invoked(uint id, const QString& action)
{
    if (id == 0 || id != m_shown)
        return;
    m_shown = 0; // It goes when it is used.
    if (action == buttonAction)
        emit buttonPressed();
    else
        emit opened();
}

} // namespace orvo
