#include "Platform/notifications/DesktopNotice.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>
#include <utility>

namespace orvo {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString actionKey = QStringLiteral("default");

QDBusMessage callOf(const QString& method)
{
    return QDBusMessage::createMethodCall(service, path, service, method);
}

} // namespace

DesktopNotice::DesktopNotice(QObject* parent)
    : QObject(parent)
{
    QDBusConnection::sessionBus().connect(
        service, path, service, QStringLiteral("ActionInvoked"), this, SLOT(noteAction(uint, QString)));
}

DesktopNotice::~DesktopNotice()
{
    close();
}

void DesktopNotice::show(const QString& summary, const QString& body, const QString& action)
{
    constexpr int never = 0;
    constexpr int usual = -1;
    auto call = callOf(QStringLiteral("Notify"));
    QStringList actions;
    if (!action.isEmpty())
        actions << actionKey << action;
    QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("es.orvo.video")}};
    if (action.isEmpty())
        hints.insert(QStringLiteral("transient"), true);
    call << QStringLiteral("Orvo Video") << std::exchange(m_id, 0) << QStringLiteral("es.orvo.video") << summary << body
         << actions << hints << (action.isEmpty() ? usual : never);
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, asked = ++m_asked](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<uint> reply = *finished;
        if (reply.isError())
            return;
        if (m_id == 0)
            m_id = reply.value();
        if (asked != m_asked)
            closeShown();
    });
}

void DesktopNotice::close()
{
    ++m_asked;
    closeShown();
}

void DesktopNotice::closeShown()
{
    if (m_id == 0)
        return;
    auto call = callOf(QStringLiteral("CloseNotification"));
    call << std::exchange(m_id, 0);
    QDBusConnection::sessionBus().send(call);
}

void DesktopNotice::noteAction(uint id, const QString& action)
{
    if (id == m_id && action == actionKey)
        emit activated();
}

} // namespace orvo
