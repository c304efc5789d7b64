#pragma once

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace orvo::test {

/// A notification service on this bus that shows one notification at a time.
class FakeNotifications final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    static constexpr uint id = 7; ///< The identifier of every notification.

    explicit FakeNotifications(const QString& bus)
        : m_bus(QDBusConnection::connectToBus(bus, "notifications " + bus))
    {
        m_bus.registerObject(
            "/org/freedesktop/Notifications", this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
        m_bus.registerService("org.freedesktop.Notifications");
    }
    ~FakeNotifications() override { QDBusConnection::disconnectFromBus(m_bus.name()); }

    /// Waits until the bus has received the replies.
    void flush() const { m_bus.interface()->isServiceRegistered(m_bus.baseService()); }

    int count = 0; ///< The number of notifications so far.
    bool hasReplaced = false; ///< Whether the last notification replaced another one.
    QString title; ///< The title of the shown notification; empty if there is none.
    QString text;
    QStringList actions;

public slots:
    // NOLINTNEXTLINE(readability-identifier-naming): fixed by the protocol.
    uint Notify(const QString&, uint replaces, const QString&, const QString& shownTitle, const QString& shownText,
        const QStringList& offered, const QVariantMap&, int)
    {
        ++count;
        hasReplaced = replaces == id;
        title = shownTitle;
        text = shownText;
        actions = offered;
        return id;
    }
    void CloseNotification(uint) { title.clear(); } // NOLINT(*-identifier-naming)

signals:
    void ActionInvoked(uint id, const QString& action); // NOLINT(*-identifier-naming)

private:
    QDBusConnection m_bus;
};

} // namespace orvo::test
