#pragma once

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QObject>
#include <QVariantMap>
#include <memory>
#include <stdexcept>

namespace orvo::test {

/// A recording of the focused window by GNOME's compositor, which ends with this object. The desktop's portal requests the
/// same after the user's choice.
class MutterWindow final : public QObject {
    Q_OBJECT
public:
    MutterWindow()
    {
        const QString path = create(m_root, "CreateSession", {QVariantMap()});
        m_session = std::make_unique<QDBusInterface>(service, path, service + QString(".Session"), m_bus);
        constexpr uint cursorAsMetadata = 2;
        const QString stream = create(*m_session, "RecordWindow", {QVariantMap{{"cursor-mode", cursorAsMetadata}}});
        m_bus.connect(service, stream, service + QString(".Stream"), "PipeWireStreamAdded", this, SLOT(noteNode(uint)));
        m_session->call("Start");
    }
    ~MutterWindow() override { m_session->call("Stop"); }
    MutterWindow(const MutterWindow&) = delete;
    MutterWindow& operator=(const MutterWindow&) = delete;

    /// Its node in PipeWire; 0 until the compositor has reported it.
    uint node() const noexcept { return m_node; }

private:
    Q_SLOT void noteNode(uint node) { m_node = node; }

    static QString create(QDBusInterface& interface, const QString& method, const QVariantList& arguments)
    {
        const QDBusReply<QDBusObjectPath> reply = interface.callWithArgumentList(QDBus::Block, method, arguments);
        if (!reply.isValid())
            throw std::runtime_error(reply.error().message().toStdString());
        return reply.value().path();
    }

    static constexpr auto service = "org.gnome.Mutter.ScreenCast";
    QDBusConnection m_bus = QDBusConnection::sessionBus();
    QDBusInterface m_root{service, "/org/gnome/Mutter/ScreenCast", service, m_bus};
    std::unique_ptr<QDBusInterface> m_session;
    uint m_node = 0;
};

} // namespace orvo::test
