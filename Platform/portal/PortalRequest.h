#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <cstdint>
#include <functional>

namespace orvo {

/// The desktop portal, whose answers come when the user or the desktop has decided. Main thread only.
namespace Portal {

inline constexpr auto service = "org.freedesktop.portal.Desktop";
inline constexpr auto path = "/org/freedesktop/portal/desktop";

enum class Code : std::uint8_t {
    granted,
    refused, ///< By the user, who closed the question or said no.
    ended, ///< The desktop has ended it for another reason, or the portal has ended itself.
    unavailable ///< There is no portal, or it does not know this question.
};

struct Answer {
    Code code = Code::unavailable;
    QVariantMap results;
    QString error; ///< What the bus says, when the portal is unavailable. Not for the user.
};

/// A word that no other request or session of this process has.
QString makeToken();

} // namespace Portal

/// One question to the desktop portal. Deletes itself when it is answered; goes with its owner otherwise, which takes the
/// question back and gives no answer.
class PortalRequest final : public QObject {
    Q_OBJECT
public:
    using Done = std::function<void(Portal::Answer)>;

    /// Calls `method` of `interface` with `arguments` and, behind them, `options`. `done` is called once, later.
    static void send(QObject* owner, const QDBusConnection& bus, const QString& interface, const QString& method,
        QVariantList arguments, QVariantMap options, Done done);

    ~PortalRequest() override;

private:
    Q_SLOT void takeResponse(uint code, const QVariantMap& results);

    PortalRequest(QObject* owner, QDBusConnection bus, Done done);

    void listenAt(const QString& handle);
    void answer(Portal::Answer answer);

    QDBusConnection m_bus;
    Done m_done;
    QString m_handle;
};

} // namespace orvo
