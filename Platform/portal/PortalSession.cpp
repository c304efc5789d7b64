#include "Platform/portal/PortalSession.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <utility>

namespace orvo {

namespace {

constexpr auto sessionInterface = "org.freedesktop.portal.Session";

} // namespace

PortalSession::PortalSession(QDBusConnection bus, QString interface, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_interface(std::move(interface))
{
}

PortalSession::~PortalSession()
{
    if (!m_handle.isEmpty())
        m_bus.send(QDBusMessage::createMethodCall(Portal::service, m_handle, sessionInterface, QStringLiteral("Close")));
}

void PortalSession::begin(PortalRequest::Done done)
{
    PortalRequest::send(this, m_bus, m_interface, QStringLiteral("CreateSession"), {},
        {{QStringLiteral("session_handle_token"), Portal::makeToken()}},
        [this, done = std::move(done)](Portal::Answer answer) {
            if (answer.code == Portal::Code::granted) {
                m_handle = answer.results.value(QStringLiteral("session_handle")).toString();
                m_bus.connect(Portal::service, m_handle, sessionInterface, QStringLiteral("Closed"), this, SIGNAL(closed()));
            }
            done(std::move(answer));
        });
}

void PortalSession::ask(
    const QString& method, const QVariantList& arguments, const QVariantMap& options, PortalRequest::Done done)
{
    PortalRequest::send(this, m_bus, m_interface, method,
        QVariantList{QVariant::fromValue(QDBusObjectPath(m_handle))} + arguments, options, std::move(done));
}

} // namespace orvo
