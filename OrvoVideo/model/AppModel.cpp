#include "OrvoVideo/model/AppModel.h"

#include "OrvoVideo/model/ModelText.h"
#include "Platform/notifications/Notifications.h"

namespace orvo {

AppModel::AppModel(AppServices services, QObject* parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_queue(m_operation)
    , m_documents(*m_services.store)
    , m_project(*m_services.store)
    , m_saving(m_project, m_documents, m_operation)
    , m_playback(*m_services.player, *m_services.cameraPlayer, m_project, store(), m_services.probe, m_operation, m_workers)
    , m_library({.store = store(),
          .documents = m_documents,
          .open = m_project,
          .saving = m_saving,
          .playback = m_playback,
          .operation = m_operation,
          .workers = m_workers})
    , m_recovery({.store = store(),
          .probe = m_services.probe,
          .open = m_project,
          .library = m_library,
          .operation = m_operation,
          .workers = m_workers})
    , m_editing({.services = m_services,
          .open = m_project,
          .saving = m_saving,
          .playback = m_playback,
          .operation = m_operation,
          .workers = m_workers})
    , m_imports(
          {.services = m_services, .open = m_project, .library = m_library, .operation = m_operation, .workers = m_workers})
    , m_exports({.services = m_services,
          .settings = m_settings,
          .choice = m_exportChoice,
          .open = m_project,
          .saving = m_saving,
          .library = m_library,
          .operation = m_operation,
          .queue = m_queue,
          .workers = m_workers})
    , m_care({.services = m_services,
          .open = m_project,
          .saving = m_saving,
          .documents = m_documents,
          .library = m_library,
          .operation = m_operation,
          .queue = m_queue,
          .workers = m_workers})
    , m_shortcuts(std::move(m_services.recording.shortcutKeys))
    , m_recorder(std::move(m_services.recording),
          {.store = store(),
              .open = m_project,
              .saving = m_saving,
              .library = m_library,
              .playback = m_playback,
              .operation = m_operation,
              .options = m_settings.options})
    , m_server(m_services, m_operation, m_workers)
    , m_publishing({.services = m_services,
          .settings = m_settings,
          .documents = m_documents,
          .open = m_project,
          .saving = m_saving,
          .library = m_library,
          .server = m_server,
          .operation = m_operation,
          .queue = m_queue,
          .workers = m_workers})
    , m_transcription({.services = m_services,
          .open = m_project,
          .saving = m_saving,
          .library = m_library,
          .operation = m_operation,
          .queue = m_queue,
          .workers = m_workers})
    , m_installation(m_services, m_operation, m_workers)
{
    forwardSignals();
    connect(&m_shortcuts, &ShortcutManager::pressed, &m_recorder, &Recorder::obey);
    connect(&m_recorder, &Recorder::tabWanted, &m_installation, &AppInstallation::openExtensionFolder);
    if (m_services.observe) {
        m_notifications = m_services.observe([this](std::string_view name) {
            if (name == notification::tabStarted || name == notification::tabFinished)
                refreshLibrary();
            else if (name == notification::extensionConnected)
                m_installation.noteExtension();
        });
    }
    refreshLibrary();
}

AppModel::~AppModel()
{
    // This order ends every coroutine while all members still exist.
    flushSave();
    m_queue.clear();
    m_library.shutDown();
    m_services.panels.reset();
    m_recorder.shutDown();
    m_workers.shutDown();
    m_documents.shutDown();
    m_playback.shutDown();
}

void AppModel::forwardSignals()
{
    connect(&m_library, &ProjectLibrary::isListedChanged, this, &AppModel::libraryListedChanged);
    connect(&m_project, &OpenProject::projectChanged, this, &AppModel::projectChanged);
    connect(&m_project, &OpenProject::selectedSpanChanged, this, &AppModel::selectedSpanChanged);
    connect(&m_project, &OpenProject::opened, this, &AppModel::projectOpened);
    connect(&m_project, &OpenProject::historyChanged, this, &AppModel::historyChanged);
    connect(&m_saving, &Saving::commitWanted, this, &AppModel::commitWanted);
    connect(&m_saving, &Saving::unsavedChangesChanged, this, &AppModel::unsavedChangesChanged);
    connect(&m_playback, &Playback::playheadChanged, this, &AppModel::playheadChanged);
    connect(&m_playback, &Playback::playingChanged, this, &AppModel::playingChanged);
    connect(&m_playback, &Playback::previewChanged, this, &AppModel::previewChanged);
    connect(&m_operation, &Operation::busyChanged, this, &AppModel::busyChanged);
    connect(&m_operation, &Operation::idleChanged, this, &AppModel::idleChanged);
    connect(&m_operation, &Operation::progressChanged, this, &AppModel::progressChanged);
    connect(&m_queue, &WorkQueue::changed, this, &AppModel::busyChanged);
    connect(&m_queue, &WorkQueue::progressChanged, this, &AppModel::progressChanged);
    connect(&m_operation, &Operation::statusChanged, this, &AppModel::statusChanged);
    connect(&m_operation, &Operation::errorMessageChanged, this, &AppModel::errorMessageChanged);
}

void AppModel::cancel()
{
    if (m_operation.busy())
        m_operation.cancel();
    else
        m_queue.cancel();
}

bool AppModel::prepareToQuit()
{
    if (capturing()) {
        m_operation.setErrorMessage(QStringLiteral("Hay una grabación en curso. Termínala antes de salir."));
        return false;
    }
    return m_saving.settle();
}

void AppModel::importFile(const QUrl& movie, bool append)
{
    m_imports.importMovie(movie.toLocalFile().toStdString(), append);
}

void AppModel::setOptions(const RecordingOptions& options)
{
    if (m_settings.options == options)
        return;
    m_settings.options = options;
    emit optionsChanged();
}

QString AppModel::exportQuality() const
{
    return Text::from(std::string(textOf(m_settings.exportQuality)));
}

void AppModel::setExportQuality(const QString& quality)
{
    const auto known = parseExportQuality(quality.toStdString()).value_or(ExportQuality::balanced);
    if (m_settings.exportQuality == known)
        return;
    m_settings.exportQuality = known;
    emit exportQualityChanged();
}

} // namespace orvo
