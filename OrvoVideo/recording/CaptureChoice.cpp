#include "OrvoVideo/recording/CaptureChoice.h"

#include "VideoCore/Error.h"

#include <QGuiApplication>
#include <QSettings>
#include <fcntl.h>
#include <format>
#include <utility>

namespace orvo {

namespace {

const QString screenMode = QStringLiteral("screen");
const QString windowMode = QStringLiteral("window");
const QString regionMode = QStringLiteral("region");
const QString tabMode = QStringLiteral("tab");

QString permissionText()
{
    return QStringLiteral(
        "Activa el permiso de grabación de pantalla de Orvo Video en Ajustes del Sistema y pulsa Actualizar.");
}

ScreenCast::Kind kindOf(const QString& mode)
{
    return mode == windowMode ? ScreenCast::Kind::window : ScreenCast::Kind::monitor;
}

/// The setting that holds what makes the desktop share the same again.
QString tokenSetting(ScreenCast::Kind kind)
{
    return kind == ScreenCast::Kind::window ? QStringLiteral("screenCast.window") : QStringLiteral("screenCast.monitor");
}

CaptureSource sourceOf(const ScreenCast::Stream& stream)
{
    const bool isMonitor = stream.kind == ScreenCast::Kind::monitor;
    CaptureSource source{.id = (isMonitor ? "d" : "w") + std::to_string(stream.node),
        .label = isMonitor ? "Pantalla elegida" : "Ventana elegida",
        .rect = stream.rect,
        .stream = std::make_shared<const PipeWireStream>(::fcntl(stream.remote, F_DUPFD_CLOEXEC, 0), stream.node)};
    // Of several screens one would only be guessed.
    if (isMonitor && (stream.placed || QGuiApplication::screens().size() <= 1))
        source.displayID = stream.node;
    return source;
}

} // namespace

CaptureChoice::CaptureChoice(WindowSystem system, std::unique_ptr<ScreenCast> screenCast, bool pressesSeen, QObject* parent)
    : QObject(parent)
    , m_system(system)
    , m_screenCast(std::move(screenCast))
    , m_pressesSeen(pressesSeen)
{
    m_asking.give({}); // Nothing is asked yet.
    if (!m_screenCast)
        return;
    connect(m_screenCast.get(), &ScreenCast::revoked, this, [this] {
        show({}, ScreenCast::revokedText());
        emit revoked();
    });
}

CaptureChoice::~CaptureChoice()
{
    shutDown();
}

void CaptureChoice::shutDown()
{
    ++m_listing;
    m_asking.give({});
    m_workers.shutDown();
}

void CaptureChoice::setMode(const QString& mode)
{
    const QString valid = mode == windowMode || mode == regionMode || mode == tabMode ? mode : screenMode;
    if (m_mode == valid)
        return;
    const bool otherKind = kindOf(m_mode) != kindOf(valid);
    m_mode = valid;
    if (desktopChooses() && otherKind) {
        release();
        show({}, {});
    }
    emit modeChanged();
}

void CaptureChoice::setSourceID(const QString& id)
{
    if (m_sourceID == id)
        return;
    m_sourceID = id;
    emit sourceIDChanged();
}

QString CaptureChoice::pointerNote() const
{
    QStringList notes;
    if (m_screenCast && m_screenCast->stream() && !m_screenCast->stream()->tellsPointer)
        notes << QStringLiteral(
            "Este escritorio no dice dónde está el puntero: la grabación no podrá resaltarlo ni acercarse a él.");
    if (!m_pressesSeen && m_system != WindowSystem::none)
        notes << QStringLiteral(
            "Este sistema no deja ver los clics en otras aplicaciones: no quedarán marcados. Se ven si tu "
            "usuario puede leer /dev/input (grupo «input»).");
    return notes.join(QLatin1Char('\n'));
}

void CaptureChoice::loadSources()
{
    if (m_mode == tabMode) { // The browser knows the tabs. What was chosen is so still for the other modes.
        ++m_listing;
        m_sources.show({});
        setSourceError({});
    } else if (!desktopChooses()) {
        list();
    }
}

void CaptureChoice::choose()
{
    if (desktopChooses())
        ask(Remembered::ignored);
}

QCoro::Task<std::optional<CaptureSource>> CaptureChoice::sourceForRecording(std::stop_token stop)
{
    const std::stop_callback giveUp(stop, [this] { release(); });
    if (!desktopChooses())
        co_await list();
    else if (m_sources.count() == 0)
        co_await ask(Remembered::used);
    if (stop.stop_requested())
        throw Cancelled();
    const auto* source = m_sources.find(m_sourceID.toStdString());
    co_return source ? std::optional(*source) : std::nullopt;
}

void CaptureChoice::release()
{
    if (!m_screenCast)
        return;
    ++m_listing;
    m_asking.give({});
    m_screenCast->close();
    if (m_sources.count() > 0)
        show({}, {});
}

QCoro::Task<> CaptureChoice::list()
{
    const auto listing = ++m_listing;
    std::vector<CaptureSource> sources;
    QString error;
    try {
        sources = co_await m_workers.run(
            [windows = m_mode == windowMode] { return windows ? CaptureSources::windows() : CaptureSources::displays(); });
    } catch (const Cancelled&) {
        co_return; // This object is going.
    } catch (const std::exception&) {
        error = permissionText();
    }
    if (listing == m_listing)
        show(std::move(sources), error);
}

QCoro::Task<> CaptureChoice::ask(Remembered remembered)
{
    m_asking.give({});
    const Answer<ScreenCast::Outcome> answer;
    m_asking = answer;
    const auto listing = ++m_listing;
    const auto kind = kindOf(m_mode);
    QSettings settings;
    const QString token = remembered == Remembered::used ? settings.value(tokenSetting(kind)).toString() : QString();
    m_screenCast->open(kind, token, [answer](ScreenCast::Outcome outcome) { answer.give(std::move(outcome)); });
    auto outcome = co_await answer;
    if (listing != m_listing)
        co_return;
    if (!outcome.stream) {
        show({}, outcome.error.isEmpty() ? permissionText() : outcome.error);
        co_return;
    }
    settings.setValue(tokenSetting(kind), outcome.stream->restoreToken);
    auto source = sourceOf(*outcome.stream);
    QString error;
    try {
        const bool isSized = source.rect.width > 0 && source.rect.height > 0;
        const bool isMonitor = outcome.stream->kind == ScreenCast::Kind::monitor;
        // The desktop counts in its own units, in which a screen with scaled contents is smaller than its pictures. Those of
        // windows may have room around them.
        if (isMonitor || !isSized) {
            const auto size =
                co_await m_workers.run([stream = source.stream] { return PipeWireStream::pictureSize(stream); });
            if (isSized) {
                source.scale = size.width / source.rect.width;
            } else {
                source.rect.width = size.width;
                source.rect.height = size.height;
            }
        }
    } catch (const Cancelled&) {
        co_return; // This object is going.
    } catch (const std::exception& failure) {
        // Of a size that the desktop tells, the recording finds out whether there are pictures.
        if (source.rect.width <= 0 || source.rect.height <= 0)
            error = QString::fromStdString(describe(failure));
    }
    if (listing != m_listing)
        co_return;
    if (!error.isEmpty()) {
        m_screenCast->close();
        show({}, error);
        co_return;
    }
    source.label += std::format(" · {:.0f}×{:.0f}", source.rect.width, source.rect.height);
    show({source}, {});
}

void CaptureChoice::show(std::vector<CaptureSource> sources, const QString& error)
{
    ++m_listing;
    m_sources.show(std::move(sources));
    if (error.isEmpty() && !m_sources.find(m_sourceID.toStdString()))
        setSourceID(m_sources.first() ? QString::fromStdString(m_sources.first()->id) : QString());
    setSourceError(error);
    emit pointerNoteChanged();
}

void CaptureChoice::setSourceError(const QString& error)
{
    if (m_sourceError == error)
        return;
    m_sourceError = error;
    emit sourceErrorChanged();
}

} // namespace orvo
