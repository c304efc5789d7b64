#include "Platform/shortcuts/PortalShortcutKeys.h"

#include "Platform/shortcuts/VirtualKeys.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <utility>

namespace orvo {

namespace {

constexpr auto shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";

} // namespace

/// A shortcut as the portal's signature (sa{sv}).
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

// NOLINTBEGIN(misc-use-internal-linkage,bugprone-return-const-ref-from-parameter): found by argument-dependent lookup.
QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}
// NOLINTEND(misc-use-internal-linkage,bugprone-return-const-ref-from-parameter)

namespace {

/// The combination in the portal's notation: "CTRL+ALT+LOGO+r". Empty when the key has no name.
QString triggerOf(const ShortcutKeys::Combination& combination)
{
    const auto* key = VirtualKeys::withCode(combination.keyCode);
    if (!key)
        return {};
    QString trigger;
    for (const auto& [mask, name] : {std::pair{ShortcutKeys::control, "CTRL+"}, std::pair{ShortcutKeys::option, "ALT+"},
             std::pair{ShortcutKeys::shift, "SHIFT+"}, std::pair{ShortcutKeys::command, "LOGO+"}}) {
        if ((combination.modifiers & mask) != 0)
            trigger += QLatin1String(name);
    }
    return trigger + QLatin1String(key->name);
}

} // namespace

PortalShortcutKeys::PortalShortcutKeys(QDBusConnection bus)
    : m_bus(std::move(bus))
    , m_portal(Portal::service, m_bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    const auto noteOwner = [this](const QString&, const QString& before, const QString& now) { notePortal(before, now); };
    // Queued: a new session deletes requests, but their own watchers must be notified first.
    connect(&m_portal, &QDBusServiceWatcher::serviceOwnerChanged, this, noteOwner, Qt::QueuedConnection);
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    m_bus.connect(Portal::service, Portal::path, shortcutsInterface, QStringLiteral("Activated"), this,
        SLOT(noteActivated(QDBusObjectPath, QString)));
}

void PortalShortcutKeys::listen(const std::vector<Combination>& combinations)
{
    m_combinations = combinations;
    begin();
}

void PortalShortcutKeys::begin()
{
    m_awaitsPortal = false;
    m_session.reset();
    if (m_combinations.empty() || !m_bus.isConnected())
        return;
    m_session = std::make_unique<PortalSession>(m_bus, QString::fromLatin1(shortcutsInterface));
    connect(m_session.get(), &PortalSession::closed, this, [this] { setSupport(Support::none); });
    m_session->begin([this](const Portal::Answer& answer) {
        if (answer.code == Portal::Code::granted)
            bind();
        else
            noteRefused(answer.code);
    });
}

void PortalShortcutKeys::bind()
{
    QList<PortalShortcut> shortcuts;
    for (const auto& combination : m_combinations) {
        QVariantMap properties{{QStringLiteral("description"), combination.description}};
        if (const QString trigger = triggerOf(combination); !trigger.isEmpty())
            properties.insert(QStringLiteral("preferred_trigger"), trigger);
        shortcuts << PortalShortcut{QString::number(combination.id), properties};
    }
    m_session->ask(QStringLiteral("BindShortcuts"), {QVariant::fromValue(shortcuts), QString()}, {},
        [this](const Portal::Answer& answer) {
            if (answer.code == Portal::Code::granted)
                setSupport(Support::desktop);
            else
                noteRefused(answer.code);
        });
}

void PortalShortcutKeys::noteRefused(Portal::Code code)
{
    m_awaitsPortal = code != Portal::Code::refused;
    setSupport(Support::none);
}

void PortalShortcutKeys::notePortal(const QString& before, const QString& now)
{
    const bool wasBound = !before.isEmpty() && m_support == Support::desktop;
    if (!before.isEmpty())
        setSupport(Support::none);
    // Our request makes the bus start a portal. One that exited during our request is not started again, because the
    // request may be what crashes it.
    if (wasBound || (!now.isEmpty() && (m_awaitsPortal || !before.isEmpty())))
        begin();
}

void PortalShortcutKeys::noteActivated(const QDBusObjectPath& session, const QString& id)
{
    if (m_session && session.path() == m_session->handle())
        emit pressed(id.toUInt());
}

void PortalShortcutKeys::setSupport(Support support)
{
    if (std::exchange(m_support, support) != support)
        emit supportChanged();
}

} // namespace orvo
