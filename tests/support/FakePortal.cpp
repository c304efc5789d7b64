#include "FakePortal.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QPoint>
#include <QSize>
#include <stdexcept>

namespace orvo::test {

/// A shared source as the portal describes it.
struct FakeStream {
    uint node = 0;
    QVariantMap facts;
};

QDBusArgument& operator<<(QDBusArgument& argument, const FakeStream& stream)
{
    argument.beginStructure();
    argument << stream.node << stream.facts;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, FakeStream&)
{
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): QtDBus asks for it.
}

namespace {

constexpr auto service = "org.freedesktop.portal.Desktop";
constexpr auto path = "/org/freedesktop/portal/desktop";
constexpr auto requestInterface = "org.freedesktop.portal.Request";
constexpr auto sessionInterface = "org.freedesktop.portal.Session";
constexpr auto castInterface = "org.freedesktop.portal.ScreenCast";
constexpr auto shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";

QString objectOf(const QDBusMessage& message, const QString& kind, const QString& token)
{
    const QString sender = message.service().mid(1).replace('.', '_');
    return QString("%1/%2/%3/%4").arg(path, kind, sender, token);
}

QVariantMap mapIn(const QVariant& value)
{
    return qdbus_cast<QVariantMap>(value);
}

} // namespace

FakePortal::FakePortal(const QString& busAddress)
    : m_name("portal " + busAddress)
    , m_bus(QDBusConnection::connectToBus(busAddress, m_name))
{
    qDBusRegisterMetaType<FakeStream>();
    qDBusRegisterMetaType<QList<FakeStream>>();
    if (!m_bus.registerVirtualObject(path, this, QDBusConnection::SubPath) || !m_bus.registerService(service))
        throw std::runtime_error("there is a portal already");
}

FakePortal::~FakePortal()
{
    m_bus.unregisterService(service);
    m_bus.unregisterObject(path, QDBusConnection::UnregisterTree);
    QDBusConnection::disconnectFromBus(m_name);
}

void FakePortal::revoke()
{
    for (const QString& session : std::exchange(openSessions, {}))
        m_bus.send(QDBusMessage::createSignal(session, sessionInterface, "Closed"));
}

void FakePortal::activate(const QString& id)
{
    auto signal = QDBusMessage::createSignal(path, shortcutsInterface, "Activated");
    signal << QVariant::fromValue(QDBusObjectPath(openSessions.last())) << id << quint64(0) << QVariantMap();
    m_bus.send(signal);
}

bool FakePortal::handleMessage(const QDBusMessage& message, const QDBusConnection&)
{
    if (message.member() == "Get" && message.arguments().value(0).toString() == "org.freedesktop.portal.FileChooser") {
        m_bus.send(fileChooser > 0 ? message.createReply(QVariant::fromValue(QDBusVariant(fileChooser)))
                                   : message.createErrorReply(QDBusError::InvalidArgs, "No such interface"));
    } else if (message.interface() == "org.freedesktop.DBus.Properties") {
        m_bus.send(message.createReply(
            QVariantMap{{"version", version}, {"AvailableCursorModes", cursorModes}, {"AvailableSourceTypes", 3U}}));
    } else if (message.interface() == castInterface) {
        screenCast(message);
    } else if (message.interface() == shortcutsInterface) {
        globalShortcuts(message);
    } else if (message.interface() == sessionInterface) {
        openSessions.removeAll(message.path());
        m_bus.send(message.createReply());
    } else if (message.interface() == requestInterface) {
        ++takenBack;
        m_bus.send(message.createReply());
    } else {
        return false;
    }
    return true;
}

void FakePortal::respond(const QDBusMessage& question, const QVariantMap& options, uint code, const QVariantMap& results)
{
    const QString handle = objectOf(question, "request", options.value("handle_token").toString());
    m_bus.send(question.createReply(QVariant::fromValue(QDBusObjectPath(handle))));
    auto response = QDBusMessage::createTargetedSignal(question.service(), handle, requestInterface, "Response");
    response << code << results;
    m_bus.send(response);
}

void FakePortal::createSession(const QDBusMessage& message)
{
    const auto options = mapIn(message.arguments().at(0));
    openSessions << objectOf(message, "session", options.value("session_handle_token").toString());
    respond(message, options, 0, {{"session_handle", openSessions.last()}});
}

void FakePortal::screenCast(const QDBusMessage& message)
{
    const auto arguments = message.arguments();
    if (message.member() == "CreateSession") {
        createSession(message);
    } else if (message.member() == "SelectSources") {
        selection = mapIn(arguments.at(1));
        respond(message, selection, 0, {});
    } else if (message.member() == "Start") {
        const auto options = mapIn(arguments.at(2));
        if (decision == Decision::wait) {
            m_bus.send(message.createReply(QVariant::fromValue(
                QDBusObjectPath(objectOf(message, "request", options.value("handle_token").toString())))));
            ++waiting;
            return;
        }
        if (decision == Decision::refuse)
            return respond(message, options, 1, {});
        const FakeStream stream{node, {{"source_type", sourceType}, {"position", rect.topLeft()}, {"size", rect.size()}}};
        QVariantMap results{{"streams", QVariant::fromValue(QList<FakeStream>{stream})}};
        if (version >= 4)
            results.insert("restore_token", restoreToken);
        respond(message, options, 0, results);
    } else if (message.member() == "OpenPipeWireRemote") {
        m_bus.send(message.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(remote))));
    }
}

void FakePortal::globalShortcuts(const QDBusMessage& message)
{
    const auto arguments = message.arguments();
    if (message.member() == "CreateSession")
        return createSession(message);
    if (message.member() != "BindShortcuts")
        return;
    shortcuts.clear();
    const auto list = arguments.at(1).value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        Shortcut shortcut;
        list.beginStructure();
        list >> shortcut.id >> shortcut.properties;
        list.endStructure();
        shortcuts << shortcut;
    }
    list.endArray();
    respond(message, mapIn(arguments.at(3)), decision == Decision::refuse ? 1 : 0, {});
}

} // namespace orvo::test
