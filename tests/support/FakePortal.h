#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QList>
#include <QRect>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <cstdint>

namespace orvo::test {

/// A desktop portal with scripted answers: ScreenCast and GlobalShortcuts in their real protocol, and the version of
/// FileChooser.
class FakePortal final : public QDBusVirtualObject {
    Q_OBJECT
public:
    /// Takes the portal's name on the bus with this address.
    explicit FakePortal(const QString& busAddress);
    ~FakePortal() override;

    // Capabilities.
    uint version = 5;
    uint cursorModes = 7;
    uint fileChooser = 0; ///< Version of FileChooser; 0 if absent.

    // The user's decision.
    enum class Decision : std::uint8_t { grant, refuse, wait };
    Decision decision = Decision::grant;

    // The shared source.
    uint node = 42;
    uint sourceType = 1;
    QRect rect{0, 0, 1280, 720};
    QString restoreToken = "token-1";
    int remote = -1; ///< The descriptor returned as the connection to PipeWire.

    // Received requests.
    QVariantMap selection; ///< The options of SelectSources.
    struct Shortcut {
        QString id;
        QVariantMap properties;
    };
    QList<Shortcut> shortcuts;
    QStringList openSessions;
    int waiting = 0; ///< Requests that the user has not answered (`Decision::wait`).
    int takenBack = 0; ///< Requests that were closed before the answer.

    /// Ends all shares, as the user does in the desktop.
    void revoke();
    /// Presses the combination of a shortcut, as the user does.
    void activate(const QString& id);

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void respond(const QDBusMessage& question, const QVariantMap& options, uint code, const QVariantMap& results);
    void screenCast(const QDBusMessage& message);
    void globalShortcuts(const QDBusMessage& message);
    void createSession(const QDBusMessage& message);

    QString m_name;
    QDBusConnection m_bus;
};

} // namespace orvo::test
