#include "Platform/attention/DesktopNotice.h"

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
const QString clickAction = QStringLiteral("default"); // The reserved key of a click on the notice itself.
const QString buttonAction = QStringLiteral("button");

QDBusMessage callOf(const QString& method)
{
    return QDBusMessage::createMethodCall(service, path, service, method);
}

void closeOnDesktop(uint id)
{
    auto call = callOf(QStringLiteral("CloseNotification"));
    call << id;
    QDBusConnection::sessionBus().send(call);
}

} // namespace

DesktopNotice::DesktopNotice(QObject* parent)
    : QObject(parent)
{
    QDBusConnection::sessionBus().connect(
        service, path, service, QStringLiteral("ActionInvoked"), this, SLOT(invoked(uint, QString)));
}

DesktopNotice::~DesktopNotice()
{
    close();
}

void DesktopNotice::show(const QString& title, const QString& text, const Offer& offer)
{
    constexpr int never = 0; // Milliseconds.
    constexpr int desktopDefault = -1;
    QStringList actions;
    if (!offer.click.isEmpty())
        actions << clickAction << offer.click;
    if (!offer.button.isEmpty())
        actions << buttonAction << offer.button;
    QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("es.orvo.video")}};
    if (actions.isEmpty())
        hints.insert(QStringLiteral("transient"), true);
    auto call = callOf(QStringLiteral("Notify"));
    call << QStringLiteral("Orvo Video") << m_id << QStringLiteral("es.orvo.video") << title << text.toHtmlEscaped()
         << actions << hints << (offer.stays ? never : desktopDefault);
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, asked = ++m_asked](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<uint> reply = *finished;
        if (reply.isError())
            return;
        if (asked == m_asked)
            m_id = reply.value();
        else if (reply.value() != m_id)
            closeOnDesktop(reply.value()); // A later call has replaced or closed it.
    });
}

void DesktopNotice::close()
{
    ++m_asked;
    if (m_id != 0)
        closeOnDesktop(std::exchange(m_id, 0));
}

void DesktopNotice::invoked(uint id, const QString& action)
{
    if (id == 0 || id != m_id)
        return;
    m_id = 0;
    if (action == buttonAction)
        emit buttonPressed();
    else
        emit clicked();
}

} // namespace orvo
