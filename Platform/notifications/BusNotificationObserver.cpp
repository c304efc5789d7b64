#include "Platform/notifications/Notifications.h"

#include <QDBusConnection>
#include <QObject>

namespace orvo {

namespace {

class BusNotificationObserver final : public QObject, public NotificationObserver {
    Q_OBJECT

public:
    explicit BusNotificationObserver(std::function<void(std::string_view)> heard)
        : m_heard(std::move(heard))
    {
        QDBusConnection::sessionBus().connect({}, QString::fromLatin1(notification::path),
            QString::fromLatin1(notification::interface), QString::fromLatin1(notification::member), this,
            SLOT(posted(QString)));
    }

private slots:
    void posted(const QString& name) { m_heard(name.toStdString()); }

private:
    std::function<void(std::string_view)> m_heard;
};

} // namespace

std::unique_ptr<NotificationObserver> NotificationObserver::create(std::function<void(std::string_view)> heard)
{
    return std::make_unique<BusNotificationObserver>(std::move(heard));
}

} // namespace orvo

#include "BusNotificationObserver.moc"
