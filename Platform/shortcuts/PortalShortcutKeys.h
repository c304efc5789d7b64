#pragma once

#include "Platform/portal/PortalSession.h"
#include "Platform/shortcuts/ShortcutKeys.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QVariantMap>
#include <memory>
#include <vector>

namespace orvo {

/// Shortcuts of the desktop portal. The desktop shows them to the user, who may change them. A portal that exits forgets
/// them; they are bound again when it returns.
class PortalShortcutKeys final : public ShortcutKeys {
    Q_OBJECT
public:
    explicit PortalShortcutKeys(QDBusConnection bus = QDBusConnection::sessionBus());

    /// Opens a new session for each new set, because a session binds only once.
    void listen(const std::vector<Combination>& combinations) override;
    Support support() const override { return m_support; }
    bool hears(std::uint32_t) const override { return false; }

private slots:
    void noteActivated(const QDBusObjectPath& session, const QString& id);

private:
    void begin();
    void bind();
    void notePortal(const QString& before, const QString& now);
    void noteRefused(Portal::Code code);
    void setSupport(Support support);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_portal;
    std::vector<Combination> m_combinations;
    std::unique_ptr<PortalSession> m_session;
    Support m_support = Support::none;
    bool m_awaitsPortal = false; ///< No portal is running; try again when one appears.
};

} // namespace orvo
