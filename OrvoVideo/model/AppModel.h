#pragma once

#include "OrvoVideo/model/AppInstallation.h"
#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/Editing.h"
#include "OrvoVideo/model/ExportChoice.h"
#include "OrvoVideo/model/Exports.h"
#include "OrvoVideo/model/Imports.h"
#include "OrvoVideo/model/LibraryCare.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/Playback.h"
#include "OrvoVideo/model/ProjectDocuments.h"
#include "OrvoVideo/model/ProjectLibrary.h"
#include "OrvoVideo/model/Publishing.h"
#include "OrvoVideo/model/Recorder.h"
#include "OrvoVideo/model/Recovery.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/ServerAccount.h"
#include "OrvoVideo/model/ShortcutManager.h"
#include "OrvoVideo/model/Transcription.h"
#include "OrvoVideo/model/Values.h"
#include "OrvoVideo/model/WorkQueue.h"
#include "OrvoVideo/model/Workers.h"

#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>
#include <memory>

namespace orvo {

/// The central model of the application: creates the components, connects them and forwards to them. The component's header
/// documents each forwarded function.
///
/// Lives on the main thread, and everything here is called there. Only `prepareToQuit` and the destructor block. Long
/// operations are coroutines; the destructor finishes them all. Failures go to `errorMessage` and `status`; no operation
/// throws. Times are seconds on the recording timeline.
class AppModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application makes the one model")

    Q_PROPERTY(orvo::LibraryModel* library READ library CONSTANT)
    Q_PROPERTY(orvo::TrackModel* tracks READ tracks CONSTANT)
    Q_PROPERTY(orvo::TranscriptModel* transcript READ transcript CONSTANT)
    Q_PROPERTY(orvo::CutModel* cuts READ cuts CONSTANT)
    Q_PROPERTY(orvo::ZoomModel* zooms READ zooms CONSTANT)
    Q_PROPERTY(orvo::OverlayModel* overlays READ overlays CONSTANT)
    Q_PROPERTY(orvo::SuggestionModel* suggestions READ suggestions CONSTANT)
    Q_PROPERTY(orvo::PreviewPlayer* player READ player CONSTANT)
    Q_PROPERTY(orvo::PreviewPlayer* cameraPlayer READ cameraPlayer CONSTANT)
    Q_PROPERTY(orvo::Recovery* recovery READ recovery CONSTANT)
    Q_PROPERTY(orvo::Recorder* recorder READ recorder CONSTANT)
    Q_PROPERTY(orvo::ShortcutManager* shortcuts READ shortcuts CONSTANT)
    Q_PROPERTY(orvo::ServerAccount* server READ server CONSTANT)
    Q_PROPERTY(orvo::Publishing* publishing READ publishing CONSTANT)
    Q_PROPERTY(orvo::Transcription* transcription READ transcription CONSTANT)
    Q_PROPERTY(orvo::AppInstallation* installation READ installation CONSTANT)
    Q_PROPERTY(orvo::Exports* exports READ exports CONSTANT)
    Q_PROPERTY(orvo::WorkQueue* queue READ queue CONSTANT)
    Q_PROPERTY(orvo::LibraryCare* care READ care CONSTANT)
    Q_PROPERTY(orvo::Editing* editing READ editing CONSTANT)

    Q_PROPERTY(bool libraryListed READ libraryListed NOTIFY libraryListedChanged)
    Q_PROPERTY(bool hasProject READ hasProject NOTIFY projectChanged)
    Q_PROPERTY(orvo::ProjectFacts project READ projectFacts NOTIFY projectChanged)
    Q_PROPERTY(orvo::Span selectedSpan READ selectedSpan WRITE setSelectedSpan NOTIFY selectedSpanChanged)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY historyChanged)
    Q_PROPERTY(bool canRedo READ canRedo NOTIFY historyChanged)
    Q_PROPERTY(bool unsavedChanges READ unsavedChanges NOTIFY unsavedChangesChanged)
    Q_PROPERTY(double playhead READ playhead NOTIFY playheadChanged)
    Q_PROPERTY(bool playing READ playing NOTIFY playingChanged)
    Q_PROPERTY(orvo::Playback::Preview preview READ preview NOTIFY previewChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(bool idle READ idle NOTIFY idleChanged)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(orvo::RecordingOptions options READ options WRITE setOptions NOTIFY optionsChanged)
    Q_PROPERTY(QString exportQuality READ exportQuality WRITE setExportQuality NOTIFY exportQualityChanged)

public:
    /// Starts listing the library.
    explicit AppModel(AppServices services, QObject* parent = nullptr);
    /// Stops all work and returns once every edit is written.
    ~AppModel() override;

    // --- The components -------------------------------------------------------------------------------------------------

    const ProjectStore& store() const { return *m_services.store; }
    LibraryModel* library() { return &m_library.list(); }
    TrackModel* tracks() { return &m_project.tracks(); }
    TranscriptModel* transcript() { return &m_project.transcript(); }
    CutModel* cuts() { return &m_project.cuts(); }
    ZoomModel* zooms() { return &m_project.zooms(); }
    OverlayModel* overlays() { return &m_project.overlays(); }
    SuggestionModel* suggestions() { return &m_project.suggestions(); }
    const Playback& playback() const { return m_playback; }
    PreviewPlayer* player() const { return &m_playback.player(); }
    PreviewPlayer* cameraPlayer() const { return &m_playback.cameraPlayer(); }
    Recovery* recovery() { return &m_recovery; }
    Recorder* recorder() { return &m_recorder; }
    ShortcutManager* shortcuts() { return &m_shortcuts; }
    ServerAccount* server() { return &m_server; }
    Publishing* publishing() { return &m_publishing; }
    Transcription* transcription() { return &m_transcription; }
    AppInstallation* installation() { return &m_installation; }
    Exports* exports() { return &m_exports; }
    WorkQueue* queue() { return &m_queue; }
    LibraryCare* care() { return &m_care; }
    Editing* editing() { return &m_editing; }

    // --- The library, and opening ---------------------------------------------------------------------------------------

    const SharedList<VideoProject>& projects() const { return m_library.list().projects(); }
    bool libraryListed() const { return m_library.isListed(); }
    void refreshLibrary() { m_library.refresh(); }
    QCoro::Task<> select(VideoProject project) { return m_library.select(std::move(project)); }
    Q_INVOKABLE void open(const QString& projectId) { m_library.open(projectId); }
    Q_INVOKABLE void importMedia(bool append) { m_imports.askAndImport(append); }
    Q_INVOKABLE void importFile(const QUrl& movie, bool append);
    Q_INVOKABLE void exportVideo() { m_exports.exportOpen(); }
    Q_INVOKABLE void recover() { m_recovery.recover(); }

    // --- The open project -----------------------------------------------------------------------------------------------

    const std::optional<VideoProject>& project() const { return m_project.value(); }
    bool hasProject() const { return project().has_value(); }
    ProjectFacts projectFacts() const { return m_project.facts(); }
    void update(const std::function<void(VideoProject&)>& change) { m_project.update(change); }
    Q_INVOKABLE void setGesture(bool active) { m_project.setGesture(active); }
    Q_INVOKABLE void undo() { m_project.undo(); }
    Q_INVOKABLE void redo() { m_project.redo(); }
    bool canUndo() const { return m_project.canUndo(); }
    bool canRedo() const { return m_project.canRedo(); }
    Span selectedSpan() const { return m_project.selectedSpan(); }
    void setSelectedSpan(const Span& span) { m_project.setSelectedSpan(span); }
    Q_INVOKABLE void findSuggestions() { m_project.findSuggestions(); }

    /// Commits the text that is being typed.
    Q_INVOKABLE void commitTyped() { m_saving.commitTyped(); }
    void saveSoon() { m_saving.saveSoon(); }
    void flushSave() { m_saving.flush(); }
    bool unsavedChanges() const { return m_saving.unsavedChanges(); }
    /// Writes everything and waits for it. False while capturing, and if a write fails (`errorMessage` says why): the edits
    /// stay in memory while the application runs.
    Q_INVOKABLE bool prepareToQuit();

    // --- Edits; the others are in `Editing` ----------------------------------------------------------------------------

    Q_INVOKABLE void cutSelection() { m_editing.cutSelection(); }
    Q_INVOKABLE void addText(const QString& text) { m_editing.addText(text); }
    Q_INVOKABLE void addImage() { m_editing.addImage(); }
    void applySuggestion(const EditSuggestion& suggestion) { m_editing.applySuggestion(suggestion); }

    // --- Playback -------------------------------------------------------------------------------------------------------

    double playhead() const { return m_playback.playhead(); }
    bool playing() const { return m_playback.playing(); }
    Playback::Preview preview() const { return m_playback.preview(); }
    QCoro::Task<> rebuildPreview() { return m_playback.rebuild(); }
    Q_INVOKABLE void seek(double seconds) { m_playback.seek(seconds); }
    Q_INVOKABLE void stepFrames(int frames) { m_playback.stepFrames(frames); }
    Q_INVOKABLE void play() { m_playback.play(); }
    Q_INVOKABLE void pause() { m_playback.pause(); }
    Q_INVOKABLE void togglePlaying() { m_playback.togglePlaying(); }

    // --- The long operation of the moment, and the texts -----------------------------------------------------------------

    void perform(Operation::Work work) { m_operation.perform(std::move(work)); }
    /// Stops the long operation, or else the running job of the queue.
    Q_INVOKABLE void cancel();
    /// Whether a long operation or a job of the queue runs.
    bool busy() const { return m_operation.busy() || m_queue.busy(); }
    /// Whether a long operation or a recording can begin; the queue does not prevent it.
    bool idle() const { return m_operation.idle(); }
    /// The progress of the long operation, else of the running job, 0..1.
    double progress() const { return m_operation.busy() || !m_queue.busy() ? m_operation.progress() : m_queue.progress(); }
    QString status() const { return m_operation.status(); }
    QString errorMessage() const { return m_operation.errorMessage(); }
    Q_INVOKABLE void clearError() { m_operation.clearError(); }

    // --- Recording ------------------------------------------------------------------------------------------------------

    Q_INVOKABLE void startRecording() { m_recorder.start(); }
    Q_INVOKABLE void stopRecording() { m_recorder.stop(); }
    Q_INVOKABLE void togglePause() { m_recorder.togglePause(); }
    bool isRecording() const { return m_recorder.isRecording(); }
    bool isPaused() const { return m_recorder.isPaused(); }
    bool capturing() const { return m_recorder.capturing(); }

    // --- Transcription and publishing -----------------------------------------------------------------------------------

    Q_INVOKABLE void transcribe() { m_transcription.transcribe(); }
    Q_INVOKABLE void publish() { m_publishing.publish(); }

    // --- Settings of this run -------------------------------------------------------------------------------------------

    /// The options of the next recording; exports use the height and frame rate too.
    const RecordingOptions& options() const { return m_settings.options; }
    void setOptions(const RecordingOptions& options);
    /// "small", "balanced" or "high"; anything else is "balanced".
    QString exportQuality() const;
    void setExportQuality(const QString& quality);

signals:
    void libraryListedChanged();
    void projectChanged();
    void selectedSpanChanged();
    void projectOpened();
    void historyChanged();
    void commitWanted(); ///< See `Saving`.
    void unsavedChangesChanged();
    void playheadChanged();
    void playingChanged();
    void previewChanged();
    void busyChanged();
    void idleChanged();
    void progressChanged();
    void statusChanged();
    void errorMessageChanged();
    void optionsChanged();
    void exportQualityChanged();

private:
    void forwardSignals();

    // Each member uses the ones above it.
    AppServices m_services;
    RunSettings m_settings;
    ExportChoice m_exportChoice;
    Operation m_operation;
    WorkQueue m_queue;
    Workers m_workers;
    ProjectDocuments m_documents;
    OpenProject m_project;
    Saving m_saving;
    Playback m_playback;
    ProjectLibrary m_library;
    Recovery m_recovery;
    Editing m_editing;
    Imports m_imports;
    Exports m_exports;
    LibraryCare m_care;
    ShortcutManager m_shortcuts;
    Recorder m_recorder;
    ServerAccount m_server;
    Publishing m_publishing;
    Transcription m_transcription;
    AppInstallation m_installation;
    std::unique_ptr<NotificationObserver> m_notifications;
};

} // namespace orvo
