#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <cstdint>
#include <functional>

namespace orvo {

/// The desktop portal. Its answers arrive when the user or the desktop has decided. Main thread only.
namespace Portal {

inline constexpr auto service = "org.freedesktop.portal.Desktop";
inline constexpr auto path = "/org/freedesktop/portal/desktop";

enum class Code : std::uint8_t {
    granted,
    refused, ///< The user closed the dialog or declined.
    ended, ///< The desktop ended the request for another reason, or the portal exited.
    unavailable ///< There is no portal, or it does not support this request.
};

struct Answer {
    Code code = Code::unavailable;
    QVariantMap results;
    QString error; ///< The error of the bus when the portal is unavailable; not for the user.
};

/// A token that is unique among the requests and sessions of this process.
QString makeToken();

} // namespace Portal

/// One request to the desktop portal. Deletes itself after the answer. If its owner is destroyed first, it withdraws the
/// request and calls nothing.
class PortalRequest final : public QObject {
    Q_OBJECT
public:
    using Done = std::function<void(Portal::Answer)>;

    /// Calls `method` of `interface` with `arguments` followed by `options`. `done` is called once, later.
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
