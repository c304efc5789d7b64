#pragma once

#include "Platform/ShortcutKeys.h"
#include "Platform/portal/PortalSession.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QVariantMap>
#include <memory>

namespace orvo {

/// Combinations that the desktop hears for us: it shows them to the user, who may choose others.
class PortalShortcutKeys final : public ShortcutKeys {
    Q_OBJECT
public:
    explicit PortalShortcutKeys(QDBusConnection bus = QDBusConnection::sessionBus());

    /// A new set of combinations needs a new session, since each is bound once.
    void listen(const std::vector<Combination>& combinations) override;
    Support support() const override { return m_support; }
    bool hears(std::uint32_t) const override { return false; }

private slots:
    void noteActivated(const QDBusObjectPath& session, const QString& id);

private:
    void bind(const std::vector<Combination>& combinations);
    void setSupport(Support support);

    QDBusConnection m_bus;
    std::unique_ptr<PortalSession> m_session;
    Support m_support = Support::none;
};

} // namespace orvo
