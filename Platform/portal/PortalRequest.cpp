#include "Platform/portal/PortalRequest.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <utility>

namespace orvo {

namespace {

constexpr auto requestInterface = "org.freedesktop.portal.Request";

/// Milliseconds for the portal to accept a request. It may have to be started first.
constexpr int acceptanceLimit = 25'000;

} // namespace

QString Portal::makeToken()
{
    static int count = 0;
    return QStringLiteral("orvo%1_%2").arg(QCoreApplication::applicationPid()).arg(++count);
}

void PortalRequest::send(QObject* owner, const QDBusConnection& bus, const QString& interface, const QString& method,
    QVariantList arguments, QVariantMap options, Done done)
{
    auto* request = new PortalRequest(owner, bus, std::move(done));
    // The response may arrive before the reply with its path, so listen at the expected path first.
    const QString token = Portal::makeToken();
    const QString sender = bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    request->listenAt(QStringLiteral("%1/request/%2/%3").arg(QLatin1String(Portal::path), sender, token));

    options.insert(QStringLiteral("handle_token"), token);
    arguments << options;
    auto call = QDBusMessage::createMethodCall(Portal::service, Portal::path, interface, method);
    call.setArguments(arguments);
    auto* taken = new QDBusPendingCallWatcher(request->m_bus.asyncCall(call, acceptanceLimit), request);
    connect(taken, &QDBusPendingCallWatcher::finished, request, [request, taken] {
        const QDBusPendingReply<QDBusObjectPath> reply = *taken;
        if (reply.isError())
            request->answer({.code = Portal::Code::unavailable, .error = reply.error().message()});
        else
            request->listenAt(reply.value().path());
    });
}

PortalRequest::PortalRequest(QObject* owner, QDBusConnection bus, Done done)
    : QObject(owner)
    , m_bus(std::move(bus))
    , m_done(std::move(done))
{
    // When the portal exits, its requests are lost, even if another one takes its name.
    const auto* portal = new QDBusServiceWatcher(Portal::service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    const auto takeChange = [this](const QString&, const QString& before) {
        if (!before.isEmpty())
            answer({.code = Portal::Code::ended});
    };
    // Queued: the answer may delete this object and the watcher while it emits.
    connect(portal, &QDBusServiceWatcher::serviceOwnerChanged, this, takeChange, Qt::QueuedConnection);
}

PortalRequest::~PortalRequest()
{
    if (m_done)
        m_bus.send(QDBusMessage::createMethodCall(Portal::service, m_handle, requestInterface, QStringLiteral("Close")));
}

void PortalRequest::listenAt(const QString& handle)
{
    if (handle == m_handle)
        return;
    const QString response = QStringLiteral("Response");
    const auto* slot = SLOT(takeResponse(uint, QVariantMap));
    if (!m_handle.isEmpty())
        m_bus.disconnect(Portal::service, m_handle, requestInterface, response, this, slot);
    m_handle = handle;
    m_bus.connect(Portal::service, m_handle, requestInterface, response, this, slot);
}

void PortalRequest::takeResponse(uint code, const QVariantMap& results)
{
    switch (code) {
    case 0:
        return answer({.code = Portal::Code::granted, .results = results});
    case 1:
        return answer({.code = Portal::Code::refused});
    default:
        return answer({.code = Portal::Code::ended});
    }
}

void PortalRequest::answer(Portal::Answer answer)
{
    if (!m_done)
        return;
    deleteLater();
    std::exchange(m_done, nullptr)(std::move(answer));
}

} // namespace orvo
