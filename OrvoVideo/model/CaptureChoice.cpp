#include "OrvoVideo/model/CaptureChoice.h"

#include "Platform/settings/StoredSettings.h"
#include "VideoCore/Error.h"

#include <QGuiApplication>
#include <algorithm>
#include <array>
#include <chrono>
#include <fcntl.h>
#include <format>
#include <utility>

namespace orvo {

namespace {

using Mode = CaptureChoice::Mode;

/// Indexed by the mode.
constexpr std::array<QLatin1StringView, 4> modeTexts{
    QLatin1StringView("screen"), QLatin1StringView("window"), QLatin1StringView("region"), QLatin1StringView("tab")};

QString permissionText()
{
    return QStringLiteral(
        "Activa el permiso de grabación de pantalla de Orvo Video en Ajustes del Sistema y pulsa Actualizar.");
}

ScreenCast::Kind kindOf(Mode mode)
{
    return mode == Mode::window ? ScreenCast::Kind::window : ScreenCast::Kind::monitor;
}

/// The setting with the token by which the desktop shares the same source again.
std::string tokenSetting(ScreenCast::Kind kind)
{
    return kind == ScreenCast::Kind::window ? "screenCast.window" : "screenCast.monitor";
}

/// The setting with the label of that source.
std::string labelSetting(ScreenCast::Kind kind)
{
    return tokenSetting(kind) + ".label";
}

QString stored(const std::string& setting)
{
    return QString::fromStdString(StoredSettings::text(setting).value_or(""));
}

/// The label of the chosen source until its size is known.
QString plainLabel(ScreenCast::Kind kind)
{
    return kind == ScreenCast::Kind::window ? QStringLiteral("Ventana elegida") : QStringLiteral("Pantalla elegida");
}

/// Maximum size of the first frame, in pixels.
constexpr FrameSize lookSize{.width = 640, .height = 360};

/// How long to wait for the first frame. Without it a window would be recorded in the size of the monitor; a monitor only
/// lacks its preview.
constexpr std::chrono::seconds windowPatience{3};
constexpr std::chrono::seconds monitorPatience{1};

CaptureSource sourceOf(const ScreenCast::Stream& stream)
{
    const bool isMonitor = stream.kind == ScreenCast::Kind::monitor;
    CaptureSource source{.id = (isMonitor ? "d" : "w") + std::to_string(stream.node),
        .label = plainLabel(stream.kind).toStdString(),
        .rect = stream.rect,
        .stream = std::make_shared<const PipeWireStream>(::fcntl(stream.remote, F_DUPFD_CLOEXEC, 0), stream.node)};
    // Without a position, one of several screens would be a guess.
    if (isMonitor && (stream.placed || QGuiApplication::screens().size() <= 1))
        source.displayID = stream.node;
    return source;
}

} // namespace

QImage CaptureChoice::imageOf(const SourceFrame& taken)
{
    // Lines have no padding. The copy makes the image own its pixels.
    return QImage(
        taken.pixels.data(), taken.size.width, taken.size.height, qsizetype{3} * taken.size.width, QImage::Format_RGB888)
        .copy();
}

CaptureChoice::CaptureChoice(WindowSystem system, std::unique_ptr<ScreenCast> screenCast, bool pressesSeen, QObject* parent)
    : QObject(parent)
    , m_system(system)
    , m_screenCast(std::move(screenCast))
    , m_pressesSeen(pressesSeen)
{
    m_asking.give({}); // No request is pending yet.
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
    m_looking.request_stop();
    m_workers.shutDown();
}

QString CaptureChoice::mode() const
{
    return modeTexts[static_cast<std::size_t>(m_mode)];
}

void CaptureChoice::setMode(const QString& mode)
{
    const auto* found = std::find(modeTexts.begin(), modeTexts.end(), mode);
    setCaptureMode(found == modeTexts.end() ? Mode::screen : static_cast<Mode>(found - modeTexts.begin()));
}

void CaptureChoice::setCaptureMode(Mode mode)
{
    if (m_mode == mode)
        return;
    const bool staysShared = kindOf(m_mode) == kindOf(mode) && mode != Mode::tab;
    m_mode = mode;
    if (desktopChooses() && !staysShared) {
        release();
        show({}, {});
    }
    emit modeChanged();
    emit rememberedChanged();
}

void CaptureChoice::setSourceID(const QString& id)
{
    if (m_sourceID == id)
        return;
    m_sourceID = id;
    emit sourceIDChanged();
}

QString CaptureChoice::remembered() const
{
    const auto kind = kindOf(m_mode);
    if (!desktopChooses() || m_mode == Mode::tab || stored(tokenSetting(kind)).isEmpty())
        return {};
    const QString label = stored(labelSetting(kind));
    return label.isEmpty() ? plainLabel(kind) : label;
}

void CaptureChoice::remember(const QString& token, const QString& label)
{
    const auto kind = kindOf(m_mode);
    StoredSettings::remember(tokenSetting(kind), token.toStdString());
    StoredSettings::remember(labelSetting(kind), label.toStdString());
    emit rememberedChanged();
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
    if (m_mode == Mode::tab) { // The browser lists the tabs. The choice stays for the other modes.
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
    m_looking.request_stop();
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
            [windows = m_mode == Mode::window] { return windows ? CaptureSources::windows() : CaptureSources::displays(); });
    } catch (const Cancelled&) {
        co_return; // Being destroyed.
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
    const QString token = remembered == Remembered::used ? stored(tokenSetting(kind)) : QString();
    m_screenCast->open(kind, token, [answer](ScreenCast::Outcome outcome) { answer.give(std::move(outcome)); });
    auto outcome = co_await answer;
    if (listing != m_listing)
        co_return;
    if (!outcome.stream) {
        show({}, outcome.error.isEmpty() ? permissionText() : outcome.error);
        co_return;
    }
    // Each token is valid once.
    remember(outcome.stream->restoreToken, plainLabel(kind));
    co_await measure(sourceOf(*outcome.stream), outcome.stream->kind == ScreenCast::Kind::monitor);
}

/// Completes a source by its first frame, then shows it.
QCoro::Task<> CaptureChoice::measure(CaptureSource source, bool isMonitor)
{
    const auto listing = m_listing;
    const bool isSized = source.rect.width > 0 && source.rect.height > 0;
    m_looking = std::stop_source();
    QString error;
    QImage frame;
    try {
        const auto look = co_await m_workers.run({.stop = m_looking.get_token()},
            [stream = source.stream, patience = isMonitor ? monitorPatience : windowPatience](
                const std::stop_token& stop) { return PipeWireStream::look(stream, lookSize, patience, stop); });
        // The desktop reports the size of a monitor in logical units, rounded to integers, but the recording needs pixels.
        // For a window it may report the size of the monitor: only the frame has the size of the window.
        if (isMonitor && isSized)
            source.scale = look.size.width / source.rect.width;
        else
            source.rect.width = look.size.width;
        source.rect.height = look.size.height / source.scale;
        if (look.frame)
            frame = imageOf(*look.frame);
    } catch (const Cancelled&) {
        co_return; // Released, or this object is being destroyed.
    } catch (const std::exception& failure) {
        // With a size from the desktop, the recording itself detects missing frames.
        if (!isSized)
            error = QString::fromStdString(describe(failure));
    }
    if (listing != m_listing)
        co_return;
    if (!error.isEmpty()) {
        m_screenCast->close();
        show({}, error);
        co_return;
    }
    source.label += std::format(
        " · {}×{}", wholePixels(source.rect.width * source.scale), wholePixels(source.rect.height * source.scale));
    if (const auto& stream = m_screenCast->stream())
        remember(stream->restoreToken, QString::fromStdString(source.label));
    show({source}, {}, frame);
}

void CaptureChoice::show(std::vector<CaptureSource> sources, const QString& error, const QImage& frame)
{
    ++m_listing;
    m_frame = frame;
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
