#pragma once

#include "Platform/portal/PortalRequest.h"

#include <QObject>

namespace orvo {

/// A session with the desktop portal. What it grants is valid until either side ends it. Main thread only.
class PortalSession final : public QObject {
    Q_OBJECT
public:
    /// Prepares a session of this interface. The destructor ends it.
    PortalSession(QDBusConnection bus, QString interface, QObject* parent = nullptr);
    ~PortalSession() override;

    /// Starts the session; `done` receives the outcome. Call once.
    void begin(PortalRequest::Done done);

    /// Sends a request of the session, whose handle is its first argument.
    void ask(const QString& method, const QVariantList& arguments, const QVariantMap& options, PortalRequest::Done done);

    const QString& handle() const noexcept { return m_handle; }

signals:
    /// The desktop ended the session.
    void closed();

private:
    QDBusConnection m_bus;
    QString m_interface;
    QString m_handle;
};

} // namespace orvo
