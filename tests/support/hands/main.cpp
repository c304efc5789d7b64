// Controls the windows of the applications on a session bus like assistive technology.
//
// orvo-hands prints "ready" when it has connected to the accessibility bus. Then it reads one command per line and answers
// each with "done" or an error:
//   see NAME       waits until a control with this name is visible
//   press NAME     waits until the control is enabled, then presses it
//   focus NAME     focuses the control
//   turn-on NAME   checks the control if it is unchecked; turn-off is the reverse
//
// If several controls have the name, the topmost wins.

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QTextStream>
#include <QThread>
#include <functional>
#include <optional>
#include <utility>

namespace {

constexpr qint64 limit = 240'000; ///< Milliseconds. Generous, for a loaded machine.

/// An object on the accessibility bus.
struct Reference {
    QString service;
    QDBusObjectPath path;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Reference& reference)
{
    argument.beginStructure();
    argument << reference.service << reference.path;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Reference& reference)
{
    argument.beginStructure();
    argument >> reference.service >> reference.path;
    argument.endStructure();
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): QtDBus asks for it.
}

enum class State : unsigned { checked = 4, enabled = 8, showing = 25 };

/// The accessibility bus; the session bus provides its address.
class Accessibility {
public:
    Accessibility()
        : m_bus(QDBusConnection::connectToBus(address(), QStringLiteral("accessibility")))
    {
    }

    /// The topmost visible object with this name for which `isWanted` is true; nullopt if there is none.
    std::optional<Reference> find(const QString& name, const std::function<bool(const Reference&)>& isWanted) const
    {
        const Reference desktop{
            QStringLiteral("org.a11y.atspi.Registry"), QDBusObjectPath(QStringLiteral("/org/a11y/atspi/accessible/root"))};
        for (const auto& application : childrenOf(desktop)) {
            const auto windows = childrenOf(application);
            for (auto window = windows.crbegin(); window != windows.crend(); ++window) {
                if (auto found = findBelow(*window, name, isWanted))
                    return found;
            }
        }
        return std::nullopt;
    }

    bool is(const Reference& object, State state) const
    {
        const auto words = qdbus_cast<QList<uint>>(call(object, "Accessible", "GetState").value(0));
        const auto bit = static_cast<unsigned>(state);
        return !words.isEmpty() && ((words[0] >> bit) & 1U) != 0;
    }

    /// Performs the action with this name, or the first action if there is no such one.
    void act(const Reference& object, const QString& name) const
    {
        const int count = property(object, "Action", "NActions").toInt();
        int chosen = 0;
        for (int i = 0; i < count; ++i) {
            if (call(object, "Action", "GetName", {i}).value(0).toString() == name)
                chosen = i;
        }
        call(object, "Action", "DoAction", {chosen});
    }

    void focus(const Reference& object) const { call(object, "Component", "GrabFocus"); }

private:
    /// Waits for the service that provides the address.
    static QString address()
    {
        const auto question = QDBusMessage::createMethodCall(QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
            QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress"));
        QElapsedTimer timer;
        timer.start();
        while (true) {
            const auto answer = QDBusConnection::sessionBus().call(question);
            if (answer.type() == QDBusMessage::ReplyMessage || timer.elapsed() > limit)
                return answer.arguments().value(0).toString();
            QThread::msleep(20);
        }
    }

    QVariantList send(
        const Reference& object, const QString& interface, const QString& method, const QVariantList& arguments) const
    {
        auto message = QDBusMessage::createMethodCall(object.service, object.path.path(), interface, method);
        message.setArguments(arguments);
        const auto answer = m_bus.call(message);
        return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments() : QVariantList();
    }
    QVariantList call(
        const Reference& object, const char* interface, const char* method, const QVariantList& arguments = {}) const
    {
        return send(
            object, QStringLiteral("org.a11y.atspi.%1").arg(QLatin1String(interface)), QLatin1String(method), arguments);
    }
    QVariant property(const Reference& object, const char* interface, const char* name) const
    {
        const auto values = send(object, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
            {QStringLiteral("org.a11y.atspi.%1").arg(QLatin1String(interface)), QLatin1String(name)});
        return values.value(0).value<QDBusVariant>().variant();
    }
    QList<Reference> childrenOf(const Reference& object) const
    {
        return qdbus_cast<QList<Reference>>(call(object, "Accessible", "GetChildren").value(0));
    }
    std::optional<Reference> findBelow(
        const Reference& object, const QString& name, const std::function<bool(const Reference&)>& isWanted) const
    {
        // Later children are drawn on top.
        const auto children = childrenOf(object);
        for (auto child = children.crbegin(); child != children.crend(); ++child) {
            if (auto found = findBelow(*child, name, isWanted))
                return found;
        }
        if (property(object, "Accessible", "Name").toString() == name && is(object, State::showing) && isWanted(object))
            return object;
        return std::nullopt;
    }

    QDBusConnection m_bus;
};

QString perform(const Accessibility& accessibility, const QString& verb, const QString& name)
{
    const bool isSeen = verb == QLatin1String("see");
    const auto isUsable = [&](const Reference& object) { return isSeen || accessibility.is(object, State::enabled); };
    QElapsedTimer timer;
    timer.start();
    std::optional<Reference> found;
    while (!(found = accessibility.find(name, isUsable))) {
        if (timer.elapsed() > limit)
            return QStringLiteral("«%1» does not appear").arg(name);
        QThread::msleep(50);
    }
    if (verb == QLatin1String("press")) {
        accessibility.act(*found, QStringLiteral("Press"));
    } else if (verb == QLatin1String("focus")) {
        accessibility.focus(*found);
    } else if (verb == QLatin1String("turn-on") || verb == QLatin1String("turn-off")) {
        if (accessibility.is(*found, State::checked) != (verb == QLatin1String("turn-on")))
            accessibility.act(*found, QStringLiteral("Toggle"));
    } else if (!isSeen) {
        return QStringLiteral("«%1» is no command").arg(verb);
    }
    return QStringLiteral("done");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    qDBusRegisterMetaType<Reference>();
    qDBusRegisterMetaType<QList<Reference>>();
    const Accessibility accessibility;
    QTextStream in(stdin);
    QTextStream out(stdout);
    out << "ready" << Qt::endl;
    for (QString line; in.readLineInto(&line);) {
        const auto blank = line.indexOf(QLatin1Char(' '));
        out << perform(accessibility, line.left(blank), line.mid(blank + 1)) << Qt::endl;
    }
    return 0;
}
