#include "OrvoVideo/model/Recorder.h"

#include "OrvoVideo/capture/audio/AudioLevel.h"
#include "Platform/trash/Trash.h"
#include "VideoCore/Error.h"

#include <QMetaObject>
#include <QScopeGuard>
#include <QStringList>
#include <algorithm>
#include <utility>

namespace orvo {

namespace {

constexpr int clockInterval = 100; ///< Milliseconds between two updates of the recording time.
constexpr double maxUnheard = 5; ///< Seconds of a silent microphone before the user is warned.
constexpr double minHeard = 1.0 / 6; ///< Level: −50 dB, above the noise of a quiet room and far below speech.
constexpr double fall = 0.1; ///< Maximum decay of the shown level per update.

} // namespace

Recorder::Recorder(RecordingServices services, const Parts& parts)
    : m_services(std::move(services))
    , m_parts(parts)
    , m_capture(m_services.windowSystem, std::move(m_services.screenCast), m_services.pressesSeen)
{
    m_secondPassed.give(false); // No countdown yet.
    m_second.setSingleShot(true);
    m_second.setTimerType(Qt::PreciseTimer);
    m_second.setInterval(1000);
    connect(&m_second, &QTimer::timeout, this, [this] { m_secondPassed.give(true); });
    connect(&m_parts.operation, &Operation::cancelled, this, [this] { m_secondPassed.give(false); });
    connect(&m_parts.operation, &Operation::busyChanged, this, [this] {
        if (!m_parts.operation.busy() && isRecording() && m_failedAtOnce)
            noteFailed(*std::exchange(m_failedAtOnce, std::nullopt));
        else if (!m_parts.operation.busy() && std::exchange(m_startsAgain, false))
            start();
    });
    m_clock.setInterval(clockInterval);
    connect(&m_clock, &QTimer::timeout, this, &Recorder::followTime);
    connect(&m_capture, &CaptureChoice::revoked, this, [this] { noteFailed(ScreenCast::revokedText()); });
}

void Recorder::shutDown()
{
    m_services.regionPicker.reset();
    m_capture.shutDown();
    m_secondPassed.give(false);
    m_worker.shutDown();
    m_session.reset(); // Closes and keeps the recording.
}

int Recorder::countdown() const
{
    switch (m_phase) {
    case Phase::CountingThree:
        return 3;
    case Phase::CountingTwo:
        return 2;
    case Phase::CountingOne:
        return 1;
    default:
        return 0;
    }
}

void Recorder::obey(ShortcutManager::Action action)
{
    switch (action) {
    case ShortcutManager::Action::Record:
        if (isRecording())
            stop();
        else
            start();
        break;
    case ShortcutManager::Action::Pause:
        togglePause();
        break;
    case ShortcutManager::Action::Zoom:
        markZoom();
        break;
    }
}

void Recorder::start()
{
    if (!m_parts.operation.idle())
        return;
    if (m_capture.captureMode() == CaptureChoice::Mode::tab) {
        emit tabWanted();
        m_parts.operation.setStatus(QStringLiteral("Inicia la captura desde el icono Orvo Video en Chrome o Brave."));
        return;
    }
    m_failedAtOnce.reset();
    m_parts.operation.perform([this](WorkControl control) { return record(control.stop); },
        {.failed = QStringLiteral("No se ha podido empezar la grabación"),
            .cancelled = QStringLiteral("Listo para grabar")});
}

/// Throws if the recording cannot begin, and `Cancelled` if stopped before the end of the countdown. Returns without a
/// recording if the user cancels the choice of the region.
QCoro::Task<> Recorder::record(std::stop_token stop)
{
    const auto giveUp = qScopeGuard([this] {
        m_sameRegion.reset();
        if (!isRecording())
            becomeIdle();
    });
    setPhase(Phase::Choosing);
    const auto source = co_await m_capture.sourceForRecording(stop);
    if (!source)
        throw captureError("Selecciona una pantalla o ventana disponible.");
    RecordingSession::Plan plan{
        .source = *source, .options = m_parts.options.capture(), .title = RecordingSession::defaultTitle()};
    m_captured = Captured{.source = *source, .area = source->rect};
    setPhase(Phase::Framing);
    const auto same = std::exchange(m_sameRegion, std::nullopt);
    if (m_capture.captureMode() == CaptureChoice::Mode::region) {
        if (same)
            plan.options.region = same;
        else
            plan.options.region = co_await pickRegion(*source);
        if (!plan.options.region)
            co_return;
        m_captured->area = *plan.options.region;
    }
    co_await countDown(stop);
    m_parts.playback.pause();
    m_parts.saving.flush();
    m_away.clear();
    m_listens = plan.options.microphone;
    m_session = co_await m_worker.run(
        [store = &m_parts.store, engine = m_services.engine.get(), plan = std::move(plan), listener = makeListener()] {
            return std::make_shared<RecordingSession>(*store, *engine, plan, listener);
        });
    m_parts.saving.flush(); // The open project was editable until now.
    m_before = m_parts.open ? std::optional(m_parts.open->id) : std::nullopt;
    setPhase(Phase::Recording);
    m_parts.library.openRecording(m_session->project());
    m_parts.playback.clear();
    m_heardAt = m_level = 0;
    followTime();
    m_clock.start();
    sayHowItIs();
}

/// Forwards the reports of the session from its threads to the main thread.
RecordingSession::Listener Recorder::makeListener()
{
    const auto post = [this](const auto& call) { QMetaObject::invokeMethod(this, call, Qt::QueuedConnection); };
    return {
        .onCheckpoint = [this, post](const VideoProject& project) { post([this, project] { showCheckpoint(project); }); },
        .onError =
            [this, post](
                const std::string& reason) { post([this, text = QString::fromStdString(reason)] { noteFailed(text); }); },
        .onDevice = [this, post](TrackKind kind, bool isAway) { post([this, kind, isAway] { noteDevice(kind, isAway); }); }};
}

QCoro::Task<std::optional<Rect>> Recorder::pickRegion(CaptureSource source)
{
    const Answer<std::optional<Rect>> chosen;
    if (!m_services.regionPicker->pick(source, [chosen](std::optional<Rect> region) { chosen.give(region); }))
        throw captureError("No se encuentra la pantalla seleccionada.");
    co_return co_await chosen;
}

/// Throws `Cancelled` when stopped.
QCoro::Task<> Recorder::countDown(std::stop_token stop)
{
    if (stop.stop_requested())
        throw Cancelled();
    for (const auto phase : {Phase::CountingThree, Phase::CountingTwo, Phase::CountingOne}) {
        setPhase(phase);
        m_parts.operation.setStatus(QStringLiteral("La grabación empieza en %1…").arg(countdown()));
        const Answer<bool> passed;
        m_secondPassed = passed;
        m_second.start();
        if (!co_await passed)
            throw Cancelled();
    }
    setPhase(Phase::Starting);
}

void Recorder::togglePause()
{
    if ((m_phase != Phase::Recording && m_phase != Phase::Paused) || !m_session)
        return;
    m_worker.post([session = m_session] { session->togglePause(); });
    setPhase(isPaused() ? Phase::Recording : Phase::Paused);
    sayHowItIs();
}

void Recorder::markZoom()
{
    if (m_phase == Phase::Recording && m_session)
        m_worker.post([session = m_session] { session->markZoom(); });
}

void Recorder::stop()
{
    if ((m_phase == Phase::Recording || m_phase == Phase::Paused) && m_session)
        m_parts.operation.performReserved([this](WorkControl) { return finish(); });
}

QCoro::Task<> Recorder::finish()
{
    setPhase(Phase::Stopping);
    m_clock.stop();
    show(co_await m_worker.run([session = m_session] { return session->stop(); }));
    if (m_parts.open->state == ProjectState::ready) {
        co_await m_parts.library.select(*m_parts.open);
        m_parts.operation.setStatus(QStringLiteral("Grabación guardada"));
        emit saved();
    }
    m_parts.library.refresh();
}

/// Shows the finished recording.
void Recorder::show(const RecordingSession::Result& result)
{
    m_session.reset();
    // Before edits become possible: the open project is still the last checkpoint, which must not overwrite the result.
    m_parts.open.show(result.project);
    becomeIdle();
    if (result.error)
        m_parts.operation.setErrorMessage(QString::fromStdString(*result.error));
}

void Recorder::discard()
{
    drop(After::nothing);
}

void Recorder::retake()
{
    drop(After::again);
}

void Recorder::drop(After after)
{
    if ((m_phase == Phase::Recording || m_phase == Phase::Paused) && m_session)
        m_parts.operation.performReserved([this, after](WorkControl) { return moveAway(after); });
}

QCoro::Task<> Recorder::moveAway(After after)
{
    const auto area = m_captured->area;
    setPhase(Phase::Stopping);
    m_clock.stop();
    show(co_await m_worker.run([session = m_session] { return session->stop(); }));
    const Uuid id = m_parts.open->id;
    std::optional<std::string> failure;
    try {
        co_await m_worker.run([folder = m_parts.store.directory(id)] { moveToTrash(folder); });
    } catch (const Error& error) {
        failure = describe(error);
    }
    if (failure) {
        m_parts.operation.setErrorMessage(
            QStringLiteral("La grabación no se ha podido llevar a la papelera y sigue en la biblioteca. ")
            + QString::fromStdString(*failure));
        co_await m_parts.library.select(*m_parts.open);
    } else {
        m_parts.library.closeGone();
        m_parts.operation.setStatus(QStringLiteral("Grabación en la papelera"));
        if (const auto before = std::exchange(m_before, std::nullopt); before && *before != id)
            m_parts.library.open(QString::fromStdString(before->text()));
        if (after == After::again) {
            m_sameRegion = area;
            m_startsAgain = true;
        }
    }
    m_parts.library.refresh();
}

void Recorder::becomeIdle()
{
    m_captured.reset();
    setUnheard(false);
    setPhase(Phase::Idle);
    m_capture.release();
}

void Recorder::setPhase(Phase phase)
{
    if (m_phase == phase)
        return;
    m_phase = phase;
    m_parts.open.setLocked(isRecording());
    m_parts.operation.setReserved(isRecording());
    emit phaseChanged();
}

/// Needs the phase Recording or Paused.
void Recorder::sayHowItIs()
{
    QStringList texts;
    for (const auto kind : m_away)
        texts << QString::fromStdString(RecordingSession::awayText(kind));
    if (m_unheard)
        texts << QStringLiteral("No se oye el micrófono. Comprueba que no está silenciado.");
    if (texts.isEmpty())
        texts << (isPaused() ? QStringLiteral("Grabación en pausa") : QStringLiteral("Grabando"));
    m_parts.operation.setStatus(texts.join(QLatin1Char(' ')));
}

void Recorder::noteDevice(TrackKind kind, bool isAway)
{
    if (isAway)
        m_away.insert(kind);
    else
        m_away.erase(kind);
    if (m_phase == Phase::Recording || m_phase == Phase::Paused)
        sayHowItIs();
}

void Recorder::showCheckpoint(VideoProject project)
{
    if (isRecording() && m_session && m_parts.open.is(project.id))
        m_parts.open.show(std::move(project));
}

void Recorder::noteFailed(const QString& reason)
{
    if (!isRecording()) {
        m_failedAtOnce = reason; // Reported once the recording has begun.
        return;
    }
    m_parts.operation.setErrorMessage(reason);
    stop();
}

void Recorder::followTime()
{
    m_time = m_session ? m_session->time() : 0;
    followLevel();
    emit timeChanged();
}

void Recorder::followLevel()
{
    const double level = audioLevel(static_cast<double>(m_services.engine->takeMicrophonePeak()));
    m_level = std::max(level, m_level - fall);
    const bool shouldBeHeard = m_listens && m_phase == Phase::Recording && !m_away.contains(TrackKind::microphone);
    if (!shouldBeHeard || level >= minHeard)
        m_heardAt = m_time;
    setUnheard(m_time - m_heardAt >= maxUnheard);
}

void Recorder::setUnheard(bool unheard)
{
    if (m_unheard == unheard)
        return;
    m_unheard = unheard;
    emit microphoneUnheardChanged();
    if (m_phase == Phase::Recording || m_phase == Phase::Paused)
        sayHowItIs();
}

} // namespace orvo
