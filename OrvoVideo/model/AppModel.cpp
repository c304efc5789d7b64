#include "OrvoVideo/model/AppModel.h"

#include "OrvoVideo/model/ModelText.h"
#include "Platform/settings/StoredSettings.h"

#include <QGuiApplication>

namespace orvo {

AppModel::AppModel(AppServices services, QObject* parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_capture(
          m_services.recording.windowSystem, std::move(m_services.recording.screenCast), m_services.recording.pressesSeen)
    , m_shortcuts(std::move(m_services.recording.shortcutKeys))
    , m_documents(*m_services.store)
{
    m_autosave.setSingleShot(true);
    m_autosave.setTimerType(Qt::PreciseTimer);
    m_autosave.setInterval(autosaveDelay);
    connect(&m_autosave, &QTimer::timeout, this, &AppModel::saveEdits);
    m_burst.setSingleShot(true);
    m_burst.setTimerType(Qt::PreciseTimer);
    m_burst.setInterval(autosaveDelay);
    connect(&m_burst, &QTimer::timeout, this, &AppModel::keepUnsavedEdits);
    connect(&m_documents, &ProjectDocuments::saved, this, &AppModel::noteWritten);
    connect(&m_documents, &ProjectDocuments::saveFailed, this, &AppModel::noteSaveFailed);
    connect(&m_documents, &ProjectDocuments::keptOther, this,
        [this](const Uuid&, const QString& fileName) { noteKeptOther(fileName); });

    // Another program's write may come in several parts.
    m_settling.setSingleShot(true);
    m_settling.setInterval(200);
    connect(&m_settling, &QTimer::timeout, this, [this] { start(reloadWhenChangedElsewhere()); });
    const auto look = [this] { m_settling.start(); };
    connect(&m_documentWatcher, &QFileSystemWatcher::directoryChanged, this, look);
    connect(&m_documentWatcher, &QFileSystemWatcher::fileChanged, this, look);

    connect(player(), &PreviewPlayer::loaded, this, [this] { m_previewAnswer.give(PreviewOutcome::loaded); });
    connect(player(), &PreviewPlayer::failed, this, [this] {
        if (m_previewAnswer.isGiven()) // What was playing cannot be read any more.
            setStatus(QStringLiteral("Usa Recuperar para preparar este archivo antes de reproducirlo."));
        m_previewAnswer.give(PreviewOutcome::failed);
    });
    connect(player(), &PreviewPlayer::timeChanged, this, &AppModel::watchPlayback);
    connect(player(), &PreviewPlayer::rateChanged, this, [this] {
        notePlaying();
        followWithCamera(player()->position());
    });
    connect(player(), &PreviewPlayer::endReached, this, [this] {
        pause();
        m_ended = true;
    });
    m_previewAnswer.give(PreviewOutcome::superseded); // There is none yet.

    if (const auto* desktop = qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        connect(desktop, &QGuiApplication::applicationStateChanged, this, &AppModel::toolsChanged);
    if (m_services.observe)
        m_notifications = m_services.observe([this](std::string_view name) { hearNotification(name); });
    start(setUpBrowsers());
    prepareRecording();
    if (const auto address = StoredSettings::text(StoredSettings::serverURL))
        m_serverURL = QString::fromStdString(*address);
    start(loadCredentialAtStart());
    refreshLibrary();
}

AppModel::~AppModel()
{
    // In this order every coroutine comes to its end while the model is whole.
    flushSave();
    ++m_opening;
    m_services.panels.reset();
    m_services.recording.regionPicker.reset();
    m_capture.shutDown();
    m_secondPassed.give(false);
    m_recorder.shutDown();
    m_session.reset(); // Keeps what was recorded.
    m_workers.shutDown();
    m_documents.shutDown();
    m_previewAnswer.give(PreviewOutcome::superseded);
    player()->disconnect(this);
    m_documents.disconnect(this);
}

void AppModel::update(const std::function<void(VideoProject&)>& change)
{
    if (!m_project || isRecording())
        return;
    VideoProject after = *m_project;
    change(after);
    after.updatedAt = now();
    if (m_gesture == Gesture::recorded)
        m_history.amend(*m_project, after);
    else
        m_history.record(*m_project, after);
    if (m_gesture == Gesture::begun)
        m_gesture = Gesture::recorded;
    const bool otherTracks = !m_project->tracks.sharesStorageWith(after.tracks);
    setProject(std::move(after));
    emit historyChanged();
    noteEdit();
    saveSoon();
    m_library.replace(*m_project);
    if (otherTracks)
        followVolumes();
}

void AppModel::setGesture(bool active)
{
    m_gesture = active ? Gesture::begun : Gesture::none;
}

void AppModel::undo()
{
    if (m_project && !isRecording())
        stepThroughHistory(m_history.undo(*m_project));
}

void AppModel::redo()
{
    if (m_project && !isRecording())
        stepThroughHistory(m_history.redo(*m_project));
}

void AppModel::stepThroughHistory(std::optional<VideoProject> version)
{
    if (!version)
        return;
    if (m_gesture == Gesture::recorded)
        m_gesture = Gesture::begun;
    setProject(std::move(version));
    emit historyChanged();
    noteEdit();
    m_quiet = m_edited;
    saveNow();
    followProject();
}

void AppModel::setProject(std::optional<VideoProject> project)
{
    m_project = std::move(project);
    showProject();
}

void AppModel::showProject()
{
    const VideoProject* shown = m_project ? &*m_project : nullptr;
    m_facts = shown ? ProjectFacts::of(*shown) : ProjectFacts();
    const auto resolve = [this](const std::string& file) {
        try {
            return QUrl::fromLocalFile(Text::from(store().mediaURL(*m_project, file)));
        } catch (const std::exception&) {
            return QUrl();
        }
    };
    m_tracks.show(shown, resolve);
    m_transcript.show(shown);
    m_cuts.show(shown);
    m_zooms.show(shown);
    m_overlays.show(shown, resolve);
    followFades();
    emit projectChanged();
}

void AppModel::setRecording(Recording recording)
{
    if (m_recording == recording)
        return;
    m_recording = recording;
    emit recordingChanged();
    emit idleChanged();
    emit historyChanged();
}

void AppModel::setOptions(const RecordingOptions& options)
{
    if (m_options == options)
        return;
    m_options = options;
    emit optionsChanged();
}

void AppModel::setExportQuality(const QString& quality)
{
    if (m_exportQuality == quality)
        return;
    m_exportQuality = quality;
    emit exportQualityChanged();
}

void AppModel::setLanguage(const QString& language)
{
    if (m_language == language)
        return;
    m_language = language;
    emit languageChanged();
}

} // namespace orvo
