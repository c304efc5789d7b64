#pragma once

#include "Platform/portal/PortalRequest.h"

#include <QObject>

namespace orvo {

/// One session with the desktop portal: what was granted in it holds until either side ends it. Main thread only.
class PortalSession final : public QObject {
    Q_OBJECT
public:
    /// A session of this interface that is asked for. Ends when this object goes.
    PortalSession(QDBusConnection bus, QString interface, QObject* parent = nullptr);
    ~PortalSession() override;

    /// Begins the session; `done` is told whether it did. Once.
    void begin(PortalRequest::Done done);

    /// Asks something in the session; the session is its first argument.
    void ask(const QString& method, const QVariantList& arguments, const QVariantMap& options, PortalRequest::Done done);

    const QString& handle() const noexcept { return m_handle; }

signals:
    /// The desktop has ended the session.
    void closed();

private:
    QDBusConnection m_bus;
    QString m_interface;
    QString m_handle;
};

} // namespace orvo
