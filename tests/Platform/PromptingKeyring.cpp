#include "PromptingKeyring.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QThread>
#include <QTimer>
#include <stdexcept>
#include <utility>

namespace orvo::test {

/// A secret on the bus: session, parameters, value and content type.
struct PassedSecret {
    QDBusObjectPath session;
    QByteArray parameters;
    QByteArray value;
    QString type;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PassedSecret& secret)
{
    argument.beginStructure();
    argument << secret.session << secret.parameters << secret.value << secret.type;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PassedSecret& secret)
{
    argument.beginStructure();
    argument >> secret.session >> secret.parameters >> secret.value >> secret.type;
    argument.endStructure();
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): QtDBus requires it.
}

namespace {

constexpr auto name = "org.freedesktop.secrets";
const QString root = "/org/freedesktop/secrets";
const QDBusObjectPath session(root + "/session/one");
const QDBusObjectPath collection(root + "/collection/login");
const QDBusObjectPath item(root + "/collection/login/1");
const QDBusObjectPath prompt(root + "/prompt/1");
const QDBusObjectPath nothing("/");

using Paths = QList<QDBusObjectPath>;

QVariant variant(const auto& value)
{
    return QVariant::fromValue(value);
}

} // namespace

class PromptingKeyring::Service final : public QDBusVirtualObject {
public:
    explicit Service(Setup setup)
        : m_setup(std::move(setup))
        , m_hasKeyring(!m_setup.secret.empty())
    {
        qDBusRegisterMetaType<PassedSecret>();
        qDBusRegisterMetaType<QMap<QString, QString>>();
    }
    ~Service() override
    {
        m_bus.unregisterService(name);
        QDBusConnection::disconnectFromBus(name);
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    bool begin() { return m_bus.registerVirtualObject(root, this, QDBusConnection::SubPath) && m_bus.registerService(name); }

    QString introspect(const QString&) const override { return {}; }

    /// Called on a thread of the bus.
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override
    {
        message.setDelayedReply(true);
        return QMetaObject::invokeMethod(this, [this, message] { serve(message); }, Qt::QueuedConnection);
    }

    std::atomic<int> asked = 0;
    std::atomic<int> takenBack = 0;
    const std::string& secret() const { return m_setup.secret; }

private:
    void serve(const QDBusMessage& message)
    {
        const auto method = message.member();
        const auto arguments = message.arguments();
        if (m_isSilent)
            return;
        if (method == "OpenSession" && arguments.at(0).toString() != "plain") {
            m_bus.send(message.createErrorReply("org.freedesktop.DBus.Error.NotSupported", "plain only"));
            return;
        }
        if (m_isLocked && (method == "GetSecret" || method == "SetSecret" || method == "CreateItem")) {
            m_bus.send(message.createErrorReply("org.freedesktop.Secret.Error.IsLocked", "locked"));
            return;
        }
        m_bus.send(message.createReply(answer(message.path(), method, arguments)));
        if (method == "Prompt")
            ask();
        else if (method == "Dismiss")
            dismiss();
    }

    QVariantList answer(const QString& path, const QString& method, const QVariantList& in)
    {
        if (method == "Get")
            return {variant(QDBusVariant(properties(path).value(in.at(1).toString())))};
        if (method == "GetAll")
            return {properties(path)};
        if (method == "OpenSession")
            return {variant(QDBusVariant("")), variant(session)};
        if (method == "SearchItems") {
            const Paths found = m_setup.secret.empty() ? Paths() : Paths{item};
            return {variant(m_isLocked ? Paths() : found), variant(m_isLocked ? found : Paths())};
        }
        if (method == "ReadAlias")
            return {variant(m_hasKeyring ? collection : nothing)};
        if (method == "Unlock") {
            m_opened = variant(qdbus_cast<Paths>(in.at(0)));
            return {m_isLocked ? variant(Paths()) : m_opened, variant(m_isLocked ? prompt : nothing)};
        }
        if (method == "CreateCollection") {
            m_opened = variant(collection);
            return {variant(nothing), variant(prompt)};
        }
        if (method == "GetSecret")
            return {variant(PassedSecret{session, "", QByteArray::fromStdString(m_setup.secret), "text/plain"})};
        if (method == "SetSecret" || method == "CreateItem") {
            const bool isNew = method == "CreateItem";
            m_setup.secret = qdbus_cast<PassedSecret>(in.at(isNew ? 1 : 0)).value.toStdString();
            return isNew ? QVariantList{variant(item), variant(nothing)} : QVariantList();
        }
        return {};
    }

    QVariantMap properties(const QString& path) const
    {
        if (path == root)
            return {{"Collections", variant(m_hasKeyring ? Paths{collection} : Paths())}};
        QVariantMap all{
            {"Label", "Inicio de sesión"}, {"Locked", m_isLocked}, {"Created", quint64(0)}, {"Modified", quint64(0)}};
        if (path == item.path())
            all["Attributes"] = variant(QMap<QString, QString>{{"account", "adminToken"}, {"xdg:schema", "es.orvo.video"}});
        else
            all["Items"] = variant(m_setup.secret.empty() ? Paths() : Paths{item});
        return all;
    }

    void ask()
    {
        ++asked;
        if (m_setup.user != User::isAway)
            QTimer::singleShot(m_setup.thinks, this, [this] { complete(m_setup.user == User::refuses); });
    }

    void dismiss()
    {
        ++takenBack;
        complete(true);
    }

    void complete(bool isDismissed)
    {
        QVariant opened = m_opened;
        if (isDismissed) {
            // Some services report an empty result, others none.
            opened = m_dismissals++ > 0                  ? QVariant("")
                : m_opened.canConvert<QDBusObjectPath>() ? variant(nothing)
                                                         : variant(Paths());
        } else {
            m_isLocked = false;
            m_hasKeyring = true;
            m_isSilent = m_setup.isSilentAfterwards;
        }
        auto signal = QDBusMessage::createSignal(prompt.path(), "org.freedesktop.Secret.Prompt", "Completed");
        m_bus.send(signal << isDismissed << variant(QDBusVariant(opened)));
    }

    Setup m_setup;
    QDBusConnection m_bus = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), name);
    QVariant m_opened; ///< The objects that the prompt unlocks.
    bool m_hasKeyring;
    bool m_isLocked = true;
    bool m_isSilent = false;
    int m_dismissals = 0;
};

PromptingKeyring::PromptingKeyring(const Setup& setup)
    : m_thread(std::make_unique<QThread>())
    , m_service(new Service(setup))
{
    m_service->moveToThread(m_thread.get());
    QObject::connect(m_thread.get(), &QThread::finished, m_service, &QObject::deleteLater);
    m_thread->start();
    bool hasBegun = false;
    QMetaObject::invokeMethod(m_service, [this] { return m_service->begin(); }, Qt::BlockingQueuedConnection, &hasBegun);
    if (!hasBegun)
        throw std::runtime_error("there is another secret service");
}

PromptingKeyring::~PromptingKeyring()
{
    m_thread->quit();
    m_thread->wait();
}

int PromptingKeyring::asked() const
{
    return m_service->asked;
}

int PromptingKeyring::takenBack() const
{
    return m_service->takenBack;
}

std::string PromptingKeyring::secret() const
{
    return m_service->secret();
}

} // namespace orvo::test
