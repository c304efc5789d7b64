#include "OrvoVideo/model/AppModel.h"
#include "VideoCore/Error.h"

namespace orvo {

namespace {

constexpr int countdownFrom = 3; ///< Seconds.
constexpr int clockInterval = 200; ///< Milliseconds between two looks at the time of the recording.

} // namespace

void AppModel::prepareRecording()
{
    m_secondPassed.give(false); // No countdown yet.
    m_second.setSingleShot(true);
    m_second.setTimerType(Qt::PreciseTimer);
    m_second.setInterval(1000);
    connect(&m_second, &QTimer::timeout, this, [this] { m_secondPassed.give(true); });
    m_recordingClock.setInterval(clockInterval);
    connect(&m_recordingClock, &QTimer::timeout, this, &AppModel::followRecordingTime);
    connect(&m_shortcuts, &ShortcutManager::pressed, this, &AppModel::doShortcut);
    connect(&m_capture, &CaptureChoice::revoked, this, [this] { noteRecordingFailed(ScreenCast::revokedText()); });
}

void AppModel::doShortcut(ShortcutManager::Action action)
{
    switch (action) {
    case ShortcutManager::Action::Record:
        if (isRecording())
            stopRecording();
        else if (!m_busy)
            startRecording();
        break;
    case ShortcutManager::Action::Pause:
        togglePause();
        break;
    case ShortcutManager::Action::Zoom:
        markZoom();
        break;
    }
}

void AppModel::startRecording()
{
    if (!idle())
        return;
    if (m_capture.mode() == QLatin1String("tab")) {
        openExtensionFolder();
        setStatus(QStringLiteral("Inicia la captura desde el icono Orvo Video en Chrome o Brave."));
        return;
    }
    start(record());
}

QCoro::Task<> AppModel::record()
{
    m_operationStop = std::stop_source();
    m_failedAtOnce.reset();
    setBusy(true);
    setProgress(0);
    std::optional<std::string> failure;
    try {
        co_await beginRecording(m_operationStop.get_token());
    } catch (const Cancelled&) {
        setStatus(QStringLiteral("Listo para grabar"));
    } catch (const std::exception& error) {
        failure = describe(error);
    }
    setCountdown(0);
    if (!isRecording()) {
        setCaptured({});
        m_capture.release();
    }
    if (failure) {
        setErrorMessage(QString::fromStdString(*failure));
        setStatus(QStringLiteral("No se ha podido empezar la grabación"));
        refreshLibrary();
    }
    setBusy(false);
    if (const auto reason = std::exchange(m_failedAtOnce, std::nullopt))
        noteRecordingFailed(*reason);
}

/// Throws what keeps the recording from beginning. Returns without one when the user has cancelled the choice of the region,
/// and throws `Cancelled` when it was stopped before the countdown had ended.
QCoro::Task<> AppModel::beginRecording(std::stop_token stop)
{
    const auto source = co_await m_capture.sourceForRecording(stop);
    if (!source)
        throw captureError("Selecciona una pantalla o ventana disponible.");
    RecordingSession::Plan plan{
        .source = *source, .options = m_options.capture(), .title = RecordingSession::defaultTitle()};
    setCaptured(Captured{.source = *source, .area = source->rect});
    if (m_capture.mode() == QLatin1String("region")) {
        plan.options.region = co_await pickRegion(*source);
        if (!plan.options.region)
            co_return;
        setCaptured(Captured{.source = *source, .area = *plan.options.region});
    }
    if (stop.stop_requested() || !co_await countDown())
        throw Cancelled();
    pause();
    flushSave();

    const auto tell = [this](const auto& call) { QMetaObject::invokeMethod(this, call, Qt::QueuedConnection); };
    RecordingSession::Listener listener{
        .onCheckpoint = [this, tell](const VideoProject& project) { tell([this, project] { showRecorded(project); }); },
        .onError =
            [this, tell](const std::string& reason) {
                tell([this, text = QString::fromStdString(reason)] { noteRecordingFailed(text); });
            },
        .onDevice = [this, tell](TrackKind kind, bool isAway) { tell([this, kind, isAway] { noteDevice(kind, isAway); }); }};
    m_away.clear();
    m_session = co_await m_recorder.run(
        [store = m_services.store.get(), engine = m_services.recording.engine.get(), plan = std::move(plan),
            listener = std::move(listener)] { return std::make_shared<RecordingSession>(*store, *engine, plan, listener); });
    ++m_opening; // Whatever was being opened no longer is.
    flushSave(); // The open project could be edited until now.
    setRecording(Recording::running);
    openProject(m_session->project(), std::nullopt);
    player()->clear();
    cameraPlayer()->clear();
    m_previewAnswer.give(PreviewOutcome::superseded);
    m_composition = {};
    m_cameraFile.reset();
    setPreview(Preview::Empty);
    followRecordingTime();
    m_recordingClock.start();
    tellRecording();
}

QCoro::Task<std::optional<Rect>> AppModel::pickRegion(CaptureSource source)
{
    const Answer<std::optional<Rect>> chosen;
    if (!m_services.recording.regionPicker->pick(source, [chosen](std::optional<Rect> region) { chosen.give(region); }))
        throw captureError("No se encuentra la pantalla seleccionada.");
    co_return co_await chosen;
}

/// False when it was cancelled.
QCoro::Task<bool> AppModel::countDown()
{
    for (int left = countdownFrom; left > 0; --left) {
        setCountdown(left);
        setStatus(QStringLiteral("La grabación empieza en %1…").arg(left));
        const Answer<bool> passed;
        m_secondPassed = passed;
        m_second.start();
        if (!co_await passed)
            co_return false;
    }
    setCountdown(0);
    co_return true;
}

void AppModel::togglePause()
{
    if (!isRecording() || !m_session || m_busy)
        return;
    m_recorder.post([session = m_session] { session->togglePause(); });
    setRecording(isPaused() ? Recording::running : Recording::paused);
    tellRecording();
}

/// How the recording is, as far as it is not being ended.
void AppModel::tellRecording()
{
    QStringList texts;
    for (const auto kind : m_away)
        texts << QString::fromStdString(RecordingSession::awayText(kind));
    if (texts.isEmpty())
        texts << (isPaused() ? QStringLiteral("Grabación en pausa") : QStringLiteral("Grabando"));
    setStatus(texts.join(QLatin1Char(' ')));
}

void AppModel::noteDevice(TrackKind kind, bool isAway)
{
    if (isAway)
        m_away.insert(kind);
    else
        m_away.erase(kind);
    if (isRecording() && !m_busy)
        tellRecording();
}

void AppModel::markZoom()
{
    if (isRecording() && !isPaused() && m_session)
        m_recorder.post([session = m_session] { session->markZoom(); });
}

void AppModel::stopRecording()
{
    if (isRecording() && m_session && !m_busy)
        start(endRecording());
}

QCoro::Task<> AppModel::endRecording()
{
    m_operationStop = std::stop_source();
    setBusy(true);
    m_recordingClock.stop();
    const auto result = co_await m_recorder.run([session = m_session] { return session->stop(); });
    m_session.reset();
    // Before edits are possible again: the open project was the last checkpoint, which must not be saved over the result.
    setProject(result.project);
    setRecording(Recording::no);
    m_capture.release();
    setCaptured({});
    if (result.error)
        setErrorMessage(QString::fromStdString(*result.error));
    if (result.project.state == ProjectState::ready) {
        co_await select(result.project);
        setStatus(QStringLiteral("Grabación guardada"));
    }
    setBusy(false);
    refreshLibrary();
}

void AppModel::showRecorded(VideoProject project)
{
    if (isRecording() && m_session && m_project && m_project->id == project.id)
        setProject(std::move(project));
}

void AppModel::noteRecordingFailed(const QString& reason)
{
    if (!isRecording()) {
        m_failedAtOnce = reason; // Told when the recording that is being started has begun.
        return;
    }
    setErrorMessage(reason);
    stopRecording();
}

void AppModel::setCaptured(std::optional<Captured> captured)
{
    m_captured = std::move(captured);
    emit capturingChanged();
}

void AppModel::setCountdown(int seconds)
{
    if (m_countdown == seconds)
        return;
    m_countdown = seconds;
    emit countdownChanged();
}

void AppModel::followRecordingTime()
{
    m_recordingTime = m_session ? m_session->time() : 0;
    emit recordingTimeChanged();
}

} // namespace orvo
