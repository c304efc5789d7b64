#include "Platform/portal/ScreenCast.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <fcntl.h>
#include <utility>

namespace orvo {

namespace {

constexpr auto castInterface = "org.freedesktop.portal.ScreenCast";

// Cursor modes of the ScreenCast interface.
constexpr uint hiddenCursor = 1;
constexpr uint cursorAsMetadata = 4;

constexpr uint untilRevoked = 2; ///< Persist mode.
constexpr uint remembersSince = 4; ///< Interface version with restore tokens.

constexpr int answerLimit = 25'000; ///< Milliseconds; the portal may have to be started.

/// A pair of integers, or nullopt.
std::optional<std::pair<int, int>> pairIn(const QVariant& value)
{
    if (!value.canConvert<QDBusArgument>())
        return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    std::pair<int, int> pair;
    argument.beginStructure();
    argument >> pair.first >> pair.second;
    argument.endStructure();
    return pair;
}

/// The first stream in the response to "Start".
std::optional<ScreenCast::Stream> firstStreamIn(const QVariantMap& results)
{
    const QVariant value = results.value(QStringLiteral("streams"));
    if (!value.canConvert<QDBusArgument>())
        return std::nullopt;
    const auto streams = value.value<QDBusArgument>();
    std::optional<ScreenCast::Stream> first;
    streams.beginArray();
    if (!streams.atEnd()) {
        uint node = 0;
        QVariantMap facts;
        streams.beginStructure();
        streams >> node >> facts;
        streams.endStructure();
        first.emplace(ScreenCast::Stream{});
        first->node = node;
        if (facts.value(QStringLiteral("source_type")).toUInt() == static_cast<uint>(ScreenCast::Kind::window))
            first->kind = ScreenCast::Kind::window;
        if (const auto position = pairIn(facts.value(QStringLiteral("position")))) {
            first->rect.x = position->first;
            first->rect.y = position->second;
            first->placed = true;
        }
        if (const auto size = pairIn(facts.value(QStringLiteral("size")))) {
            first->rect.width = size->first;
            first->rect.height = size->second;
        }
    }
    streams.endArray();
    return first;
}

} // namespace

/// The request, and the features of this portal.
struct ScreenCast::Asked {
    Kind kind;
    QString restoreToken;
    std::function<void(Outcome)> done;
    bool remembers = false;
    bool tellsPointer = false;
};

ScreenCast::ScreenCast(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
{
}

ScreenCast::~ScreenCast()
{
    close();
}

void ScreenCast::open(Kind kind, const QString& restoreToken, std::function<void(Outcome)> done)
{
    close();
    m_asked = std::make_unique<Asked>(Asked{.kind = kind, .restoreToken = restoreToken, .done = std::move(done)});
    m_session = std::make_unique<PortalSession>(m_bus, QString::fromLatin1(castInterface));
    connect(m_session.get(), &PortalSession::closed, this, [this] {
        if (m_asked)
            return end({.error = revokedText()});
        close();
        emit revoked();
    });
    askFacts();
}

void ScreenCast::close()
{
    m_asked.reset();
    m_session.reset();
    m_stream.reset();
    m_remote.reset();
}

/// Asks for the interface's properties: desktops differ in version and cursor modes.
void ScreenCast::askFacts()
{
    auto question = QDBusMessage::createMethodCall(
        Portal::service, Portal::path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"));
    question << QString::fromLatin1(castInterface);
    auto* answer = new QDBusPendingCallWatcher(m_bus.asyncCall(question, answerLimit), m_session.get());
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QVariantMap> reply = *answer;
        answer->deleteLater();
        if (reply.isError() || !reply.value().contains(QStringLiteral("version")))
            return end({.error = unavailableText()});
        const auto facts = reply.value();
        m_asked->remembers = facts.value(QStringLiteral("version")).toUInt() >= remembersSince;
        m_asked->tellsPointer = (facts.value(QStringLiteral("AvailableCursorModes")).toUInt() & cursorAsMetadata) != 0;
        begin();
    });
}

void ScreenCast::begin()
{
    m_session->begin([this](const Portal::Answer& answer) {
        if (answer.code == Portal::Code::granted)
            selectSources();
        else
            failWith(answer);
    });
}

void ScreenCast::selectSources()
{
    QVariantMap options{{QStringLiteral("types"), static_cast<uint>(m_asked->kind)}, {QStringLiteral("multiple"), false},
        {QStringLiteral("cursor_mode"), m_asked->tellsPointer ? cursorAsMetadata : hiddenCursor}};
    if (m_asked->remembers) {
        options.insert(QStringLiteral("persist_mode"), untilRevoked);
        if (!m_asked->restoreToken.isEmpty())
            options.insert(QStringLiteral("restore_token"), m_asked->restoreToken);
    }
    m_session->ask(QStringLiteral("SelectSources"), {}, options, [this](const Portal::Answer& answer) {
        if (answer.code == Portal::Code::granted)
            start();
        else
            failWith(answer);
    });
}

void ScreenCast::start()
{
    m_session->ask(QStringLiteral("Start"), {QString()}, {}, [this](const Portal::Answer& answer) {
        if (answer.code != Portal::Code::granted)
            return failWith(answer);
        auto stream = firstStreamIn(answer.results);
        if (!stream)
            return end({.error = unavailableText()});
        stream->tellsPointer = m_asked->tellsPointer;
        stream->restoreToken = answer.results.value(QStringLiteral("restore_token")).toString();
        openRemote(*stream);
    });
}

void ScreenCast::openRemote(Stream stream)
{
    auto question = QDBusMessage::createMethodCall(
        Portal::service, Portal::path, QString::fromLatin1(castInterface), QStringLiteral("OpenPipeWireRemote"));
    question << QVariant::fromValue(QDBusObjectPath(m_session->handle())) << QVariantMap();
    auto* answer = new QDBusPendingCallWatcher(m_bus.asyncCall(question, answerLimit), m_session.get());
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, stream] mutable {
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *answer;
        answer->deleteLater();
        m_remote.reset(reply.isError() ? -1 : ::fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 0));
        stream.remote = m_remote.get();
        if (!m_remote)
            end({.error = unavailableText()});
        else
            end({.stream = std::move(stream)});
    });
}

void ScreenCast::end(Outcome outcome)
{
    const auto asked = std::exchange(m_asked, nullptr);
    if (outcome.stream)
        m_stream = outcome.stream;
    else
        close();
    asked->done(std::move(outcome));
}

void ScreenCast::failWith(const Portal::Answer& answer)
{
    switch (answer.code) {
    case Portal::Code::refused:
        return end({});
    case Portal::Code::ended:
        return end({.error = revokedText()});
    default:
        return end({.error = unavailableText()});
    }
}

QString ScreenCast::unavailableText()
{
    return QStringLiteral("Este escritorio no ofrece la captura de pantalla. Instala xdg-desktop-portal y el complemento de "
                          "tu escritorio, y vuelve a entrar en la sesión.");
}

QString ScreenCast::revokedText()
{
    return QStringLiteral("El escritorio ha dejado de compartir la pantalla.");
}

} // namespace orvo
