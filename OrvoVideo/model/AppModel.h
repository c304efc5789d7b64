#pragma once

#include "OrvoVideo/capture/RecordingSession.h"
#include "OrvoVideo/model/Answer.h"
#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/CaptureChoice.h"
#include "OrvoVideo/model/ExportChoice.h"
#include "OrvoVideo/model/History.h"
#include "OrvoVideo/model/ProjectDocuments.h"
#include "OrvoVideo/model/ShortcutManager.h"
#include "OrvoVideo/model/Values.h"
#include "OrvoVideo/model/Workers.h"
#include "OrvoVideo/model/lists/CutModel.h"
#include "OrvoVideo/model/lists/LibraryModel.h"
#include "OrvoVideo/model/lists/OverlayModel.h"
#include "OrvoVideo/model/lists/SuggestionModel.h"
#include "OrvoVideo/model/lists/TrackModel.h"
#include "OrvoVideo/model/lists/TranscriptModel.h"
#include "OrvoVideo/model/lists/ZoomModel.h"
#include "OrvoVideo/transcription/SpeechModels.h"
#include "OrvoVideo/transcription/TranscriptionService.h"
#include "VideoCore/VideoProject.h"

#include <QCoroTask>
#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>
#include <QUrl>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>

namespace orvo {

class PublicationPackage;

/// The one central model of the application: the library, the open project with its history, the preview players, the one
/// long operation of the moment and the texts that the user sees.
///
/// Lives on the main thread, and everything here is called there. Nothing here blocks it: files are read and written, and
/// movies rendered, on other threads. What takes time is a coroutine; none outlives the model. Failures are told to the user
/// in `errorMessage` and `status`; no operation throws.
///
/// Times are seconds on the recording timeline. Records are addressed by the text form of their identifier, as the item
/// models give it; one that no record has changes nothing, but is a step to undo like any other edit.
class AppModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application makes the one model")

    // The library and the open project.
    Q_PROPERTY(orvo::LibraryModel* library READ library CONSTANT)
    Q_PROPERTY(bool libraryListed READ libraryListed NOTIFY libraryListedChanged)
    Q_PROPERTY(bool hasProject READ hasProject NOTIFY projectChanged)
    Q_PROPERTY(orvo::ProjectFacts project READ projectFacts NOTIFY projectChanged)
    Q_PROPERTY(orvo::TrackModel* tracks READ tracks CONSTANT)
    Q_PROPERTY(orvo::TranscriptModel* transcript READ transcript CONSTANT)
    Q_PROPERTY(orvo::CutModel* cuts READ cuts CONSTANT)
    Q_PROPERTY(orvo::ZoomModel* zooms READ zooms CONSTANT)
    Q_PROPERTY(orvo::OverlayModel* overlays READ overlays CONSTANT)
    Q_PROPERTY(orvo::SuggestionModel* suggestions READ suggestions CONSTANT)
    Q_PROPERTY(QString lostTracks READ lostTracks NOTIFY projectChanged)
    // Editing.
    Q_PROPERTY(orvo::Span selectedSpan READ selectedSpan WRITE setSelectedSpan NOTIFY selectedSpanChanged)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY historyChanged)
    Q_PROPERTY(bool canRedo READ canRedo NOTIFY historyChanged)
    Q_PROPERTY(bool unsavedChanges READ unsavedChanges NOTIFY unsavedChangesChanged)
    // The preview.
    Q_PROPERTY(orvo::PreviewPlayer* player READ player CONSTANT)
    Q_PROPERTY(orvo::PreviewPlayer* cameraPlayer READ cameraPlayer CONSTANT)
    Q_PROPERTY(double playhead READ playhead NOTIFY playheadChanged)
    Q_PROPERTY(bool playing READ playing NOTIFY playingChanged)
    Q_PROPERTY(Preview preview READ preview NOTIFY previewChanged)
    // The long operation of the moment, and the texts.
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(bool idle READ idle NOTIFY idleChanged)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(bool errorIsLostTracks READ errorIsLostTracks NOTIFY errorMessageChanged)
    // Recording.
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY recordingChanged)
    Q_PROPERTY(bool isPaused READ isPaused NOTIFY recordingChanged)
    Q_PROPERTY(bool capturing READ capturing NOTIFY capturingChanged)
    Q_PROPERTY(int countdown READ countdown NOTIFY countdownChanged)
    Q_PROPERTY(double recordingTime READ recordingTime NOTIFY recordingTimeChanged)
    Q_PROPERTY(orvo::CaptureChoice* capture READ capture CONSTANT)
    Q_PROPERTY(orvo::ShortcutManager* shortcuts READ shortcuts CONSTANT)
    // Settings of this run.
    Q_PROPERTY(orvo::RecordingOptions options READ options WRITE setOptions NOTIFY optionsChanged)
    Q_PROPERTY(QString exportQuality READ exportQuality WRITE setExportQuality NOTIFY exportQualityChanged)
    Q_PROPERTY(orvo::ExportChoice* exportChoice READ exportChoice CONSTANT)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)
    Q_PROPERTY(QString speechModel READ speechModel WRITE setSpeechModel NOTIFY transcriptionChanged)
    Q_PROPERTY(bool ffmpegAvailable READ ffmpegAvailable NOTIFY toolsChanged)
    Q_PROPERTY(QString permissionsText READ permissionsText CONSTANT)
    // Publishing.
    Q_PROPERTY(QString domainText READ domainText WRITE setDomainText NOTIFY domainTextChanged)
    Q_PROPERTY(bool publicLink READ publicLink WRITE setPublicLink NOTIFY publicLinkChanged)
    Q_PROPERTY(bool copyRefused READ copyRefused NOTIFY copyRefusedChanged)
    Q_PROPERTY(QString serverURL READ serverURL WRITE setServerURL NOTIFY serverURLChanged)
    Q_PROPERTY(QString driveReturnAddress READ driveReturnAddress NOTIFY serverURLChanged)
    Q_PROPERTY(QString adminToken READ adminToken WRITE setAdminToken NOTIFY adminTokenChanged)
    Q_PROPERTY(QString connectionStatus READ connectionStatus NOTIFY connectionStatusChanged)
    Q_PROPERTY(bool usesDrive READ usesDrive NOTIFY usesDriveChanged)
    Q_PROPERTY(QString oauthClientID READ oauthClientID WRITE setOauthClientID NOTIFY oauthClientIDChanged)
    Q_PROPERTY(QString oauthClientSecret READ oauthClientSecret WRITE setOauthClientSecret NOTIFY oauthClientSecretChanged)
    Q_PROPERTY(bool carefulTranscription READ carefulTranscription WRITE setCarefulTranscription NOTIFY transcriptionChanged)

public:
    /// Starts with the library being listed.
    explicit AppModel(AppServices services, QObject* parent = nullptr);

    /// Stops what runs, and returns when every edit is written.
    ~AppModel() override;

    // --- The library (AppModelLibrary.cpp) --------------------------------------------------------------------------------

    LibraryModel* library() { return &m_library; }
    const ProjectStore& store() const { return *m_services.store; }
    /// The library as last listed, newest first.
    const SharedList<VideoProject>& projects() const { return m_library.projects(); }
    /// Whether `library` shows what is there; false until it was listed for the first time.
    bool libraryListed() const { return m_libraryListed; }

    /// Lists the library again and marks recordings that were cut off as recoverable. Returns at once. Ignored while
    /// recording.
    Q_INVOKABLE void refreshLibrary();

    /// Opens a project of the library in place of the open one, whose changes are written first. While recording, and for a
    /// project that is being recorded (`status` says so), nothing happens. Of two calls, the later one counts.
    QCoro::Task<> select(VideoProject project);
    /// As `select`, for the project with this identifier. One that the library does not list is looked for on disk.
    Q_INVOKABLE void open(const QString& projectId);

    // --- The open project (AppModel.cpp) ----------------------------------------------------------------------------------

    const std::optional<VideoProject>& project() const { return m_project; }
    bool hasProject() const { return m_project.has_value(); }
    ProjectFacts projectFacts() const { return m_facts; }
    TrackModel* tracks() { return &m_tracks; }
    TranscriptModel* transcript() { return &m_transcript; }
    CutModel* cuts() { return &m_cuts; }
    ZoomModel* zooms() { return &m_zooms; }
    OverlayModel* overlays() { return &m_overlays; }
    SuggestionModel* suggestions() { return &m_suggestions; }

    /// The one way in which edits reach the open project: applies `change` to a copy, dates it, and makes it the open
    /// project, one step to undo and soon saved. Nothing happens without an open project and while recording.
    void update(const std::function<void(VideoProject&)>& change);

    /// While a value is dragged: from the first edit of the gesture on, edits change the same step.
    Q_INVOKABLE void setGesture(bool active);

    /// A step back and forward through the versions of the open project, saved at once. The preview follows.
    Q_INVOKABLE void undo();
    Q_INVOKABLE void redo();
    bool canUndo() const { return m_history.canUndo() && !isRecording(); }
    bool canRedo() const { return m_history.canRedo() && !isRecording(); }

    // --- Saving (AppModelSaving.cpp) --------------------------------------------------------------------------------------

    /// Milliseconds between the last change and its save.
    static constexpr int autosaveDelay = 400;

    /// Saves `autosaveDelay` after the last call. When the calls do not pause that long, what is not saved yet is written
    /// as unsaved edits every `autosaveDelay`, so that a crash never costs more.
    void saveSoon();

    /// Takes what is being typed (`commitWanted`), asks for the changes that are not saved to be saved now, and cancels the
    /// pending save.
    void flushSave();

    /// Whether the open project has changes that are not on disk yet.
    bool unsavedChanges() const { return m_edited != m_written; }

    /// Writes everything and waits for it. False when something could not be written (`errorMessage` says why): the edits
    /// are still there while the application runs.
    Q_INVOKABLE bool prepareToQuit();

    // --- Editing (AppModelEditing.cpp); each is one call of `update` ------------------------------------------------------

    Q_INVOKABLE void rename(const QString& title);

    Span selectedSpan() const { return m_selectedSpan; }
    void setSelectedSpan(const Span& span);
    /// Set the beginning or the end of the selection to the playhead.
    Q_INVOKABLE void startSelectionHere();
    Q_INVOKABLE void endSelectionHere();

    /// Cuts the selection, unless it is no longer than `Edits::shortestCut`.
    Q_INVOKABLE void cutSelection();
    /// Cut words, as one step.
    Q_INVOKABLE void cutWord(const QString& wordId);
    Q_INVOKABLE void cutWords(const QStringList& wordIds);
    /// Removes every cut with exactly this beginning and end.
    Q_INVOKABLE void restoreCut(double start, double end);
    /// Gives a cut another beginning and end.
    Q_INVOKABLE void moveCut(double start, double end, double newStart, double newEnd);

    Q_INVOKABLE void correctWord(const QString& wordId, const QString& text);

    /// Adds a text shown from the playhead on.
    Q_INVOKABLE void addText(const QString& text);
    /// Asks for an image, copies it into the project and shows it from the playhead on. A failure goes to `errorMessage`.
    Q_INVOKABLE void addImage();
    /// As `addImage`, with a local file that is known already.
    Q_INVOKABLE void addImageFile(const QUrl& file);
    Q_INVOKABLE void removeOverlay(const QString& overlayId);
    /// Sets one of "start", "end", "x", "y", "width"; or several of them as one step.
    Q_INVOKABLE void setOverlayValue(const QString& overlayId, const QString& key, double value);
    Q_INVOKABLE void setOverlayValues(const QString& overlayId, const QVariantMap& values);
    Q_INVOKABLE void setOverlayText(const QString& overlayId, const QString& text);

    /// Adds a zoom point at the playhead, in the centre of the frame.
    Q_INVOKABLE void addZoom();
    Q_INVOKABLE void removeEvent(const QString& eventId);
    /// Sets one of "time", "x", "y", "duration", "scale"; or several of them as one step.
    Q_INVOKABLE void setEventValue(const QString& eventId, const QString& key, double value);
    Q_INVOKABLE void setEventValues(const QString& eventId, const QVariantMap& values);

    /// Sets "cameraVisible", "clickHalo", "pointerHighlight", "noiseReduction", "normalizeVoice" or "sharpen".
    Q_INVOKABLE void setFlag(const QString& key, bool value);
    /// Sets one of "cameraX", "cameraY", "cameraWidth", "fade"; or several of them as one step.
    Q_INVOKABLE void setValue(const QString& key, double value);
    Q_INVOKABLE void setValues(const QVariantMap& values);
    /// Sets the linear gain of a track. Heard at once.
    Q_INVOKABLE void setVolume(const QString& trackId, double value);

    /// Makes `suggestions` anew from the transcript and the pointer events.
    Q_INVOKABLE void findSuggestions();
    /// Adds the zoom point of a suggestion or cuts its stretch, and drops it.
    void applySuggestion(const EditSuggestion& suggestion);
    Q_INVOKABLE void applySuggestion(const QString& suggestionId);

    // --- The preview (AppModelPreview.cpp) --------------------------------------------------------------------------------

    PreviewPlayer* player() const { return m_services.player.get(); }
    PreviewPlayer* cameraPlayer() const { return m_services.cameraPlayer.get(); }
    double playhead() const { return m_playhead; }
    /// Where the camera's file ends on the recording timeline, in seconds; infinity if that is not known, 0 until it is
    /// looked at. Nothing of the camera is shown from there on.
    double cameraEnd() const { return m_cameraEnd; }
    bool playing() const { return m_playing; }

    /// How far the players are with the open project.
    enum class Preview : quint8 {
        Empty, ///< No project was opened yet.
        Loading,
        Ready,
        Failed ///< A file cannot be played: what the player shows is not this project, and nothing plays.
    };
    Q_ENUM(Preview)
    Preview preview() const { return m_preview; }

    /// Gives the open project to the players, at 0. When a file cannot be played the players keep what they had, and
    /// `status` says so. Of two calls, the later one counts.
    QCoro::Task<> rebuildPreview();

    /// Moves both players and the playhead to a time, at least 0.
    Q_INVOKABLE void seek(double seconds);
    /// Moves by whole frames of the project, within the recording, and pauses.
    Q_INVOKABLE void stepFrames(int frames);

    /// Plays from the playhead, or from the beginning when it is at the end.
    Q_INVOKABLE void play();
    Q_INVOKABLE void pause();
    Q_INVOKABLE void togglePlaying();

    // --- Long operations (AppModelOperations.cpp) -------------------------------------------------------------------------

    /// Given how to stop and where to tell its progress, works as a coroutine on the main thread.
    using LongOperation = std::function<QCoro::Task<>(WorkControl control)>;

    /// Runs the one long operation of the moment; ignored unless `idle`. A failure is told in `errorMessage` and
    /// `status`, and lists the library again. `Cancelled` is no failure.
    void perform(LongOperation work);

    /// Asks the running long operation to stop.
    Q_INVOKABLE void cancel();

    bool busy() const { return m_busy; }
    /// Whether a long operation or a recording can begin: neither is under way.
    bool idle() const { return !m_busy && !isRecording(); }
    /// Of the running long operation: 0..1.
    double progress() const { return m_progress; }

    /// One line that is always there.
    QString status() const { return m_status; }
    /// The last error; empty when there is none to show.
    QString errorMessage() const { return m_errorMessage; }
    Q_INVOKABLE void clearError();

    // --- Import and export (AppModelImport.cpp, AppModelExport.cpp) -------------------------------------------------------

    /// Asks for a movie and brings it into the library: as a new project, which is opened, or behind everything in the open
    /// project (a new one when none is open).
    Q_INVOKABLE void importMedia(bool append);
    /// As `importMedia`, with a local file that is known already.
    Q_INVOKABLE void importFile(const QUrl& movie, bool append);

    /// Asks where to, renders the open project as it is now and shows the file.
    Q_INVOKABLE void exportVideo();

    // --- Transcription (AppModelTranscription.cpp) ------------------------------------------------------------------------

    /// Recognises what is spoken in the open project, on this machine: a long operation. The words take the place of the
    /// transcript, as one step to undo, and `suggestions` is made anew. Downloads the model when it is not there.
    Q_INVOKABLE void transcribe();

    /// Writes all sound of a project but that of cameras into one file for speech recognition.
    QCoro::Task<> analysisAudio(VideoProject project, std::filesystem::path destination, WorkControl control);

    // --- Publishing (AppModelPublishing.cpp) ------------------------------------------------------------------------------

    /// Renders and packages the open project, unless that was done for just what it is now, uploads it and stores where it
    /// is: a long operation. At its end the embed code is on the clipboard.
    Q_INVOKABLE void publish();
    /// Takes the open project's video back from the server: a long operation. Nothing when it is not published.
    Q_INVOKABLE void unpublish();
    /// Tells the server who may embed the open project's video and whether its link is public: a long operation. Nothing
    /// when it is not published.
    Q_INVOKABLE void updatePolicy();
    /// Put the address and the embed code of the open project's video on the clipboard. Nothing when it is not published.
    Q_INVOKABLE void copyLink();
    Q_INVOKABLE void copyEmbed();
    /// Whether the desktop has refused the last text for the clipboard; `copyAgain` tries once more, best when the user
    /// presses a button.
    bool copyRefused() const { return m_refusedCopy.has_value(); }
    Q_INVOKABLE void copyAgain();

    /// The web origins that may embed the open project's video, as the user types them.
    QString domainText() const { return m_domainText; }
    void setDomainText(const QString& text);
    /// Whether its link may be opened outside of them.
    bool publicLink() const { return m_publicLink; }
    void setPublicLink(bool isPublic);

    // --- The publishing server (AppModelSettings.cpp) ---------------------------------------------------------------------

    QString serverURL() const { return m_serverURL; }
    /// Where Google returns to after the authorisation of Drive: what the OAuth client must be registered with.
    QString driveReturnAddress() const;
    void setServerURL(const QString& address);
    /// The credential of the server's administrator; kept in the keychain.
    QString adminToken() const { return m_adminToken; }
    void setAdminToken(const QString& token);
    /// What the last look at the server has told.
    QString connectionStatus() const { return m_connectionStatus; }
    /// Whether the server keeps videos in the user's Drive, as far as it was asked. False for one that keeps them itself.
    bool usesDrive() const { return m_usesDrive; }
    /// The OAuth client that the server is to use Drive with; not stored here.
    QString oauthClientID() const { return m_oauthClientID; }
    void setOauthClientID(const QString& id);
    QString oauthClientSecret() const { return m_oauthClientSecret; }
    void setOauthClientSecret(const QString& secret);

    /// Stores the credential in the keychain, or takes it from there when none is typed, then the server's address. Throws
    /// what `Keychain` and `StoredSettings` throw.
    QCoro::Task<> saveSettings(WorkControl control);

    /// Each is a long operation: reads the credential, asking the user where that is needed, and looks at the server; saves
    /// the settings and looks at the server; saves them and gives the server the OAuth client; saves them and opens the page
    /// where the user lets the server use Drive.
    Q_INVOKABLE void readServerCredential();
    Q_INVOKABLE void checkConnection();
    Q_INVOKABLE void configureOAuth();
    Q_INVOKABLE void connectDrive();

    // --- Recovery (AppModelRecovery.cpp) ----------------------------------------------------------------------------------

    /// Prepares all files of the open project anew ("Recuperar grabación"): a long operation.
    Q_INVOKABLE void recover();
    /// The tracks of the open project that the last preparation could not convert, in Spanish; empty when there are none.
    QString lostTracks() const;
    /// Whether `errorMessage` is about those tracks, so that the user can be asked whether to continue without them.
    bool errorIsLostTracks() const;
    /// Takes those tracks out of the open project, which is ready then.
    Q_INVOKABLE void continueWithoutLost();

    /// Prepares the files of a recording; with `force` all of them, otherwise those of a browser and those that cannot be
    /// read. The project is ready then, else "needs-recovery" with a failure that says why.
    QCoro::Task<> processTab(VideoProject project, bool force, WorkControl control);

    // --- Recording (AppModelRecording.cpp) --------------------------------------------------------------------------------

    /// What the next recording is to show.
    CaptureChoice* capture() { return &m_capture; }
    /// The combinations that control a recording from any application.
    ShortcutManager* shortcuts() { return &m_shortcuts; }

    /// Counts down, makes a project and records into it: it is the open one then. Ignored while recording and while busy. In
    /// the mode "region" the user drags the area first. A failure goes to `errorMessage`; `cancel` ends the countdown.
    Q_INVOKABLE void startRecording();

    /// Ends the recording and opens its project. Ignored while there is none.
    Q_INVOKABLE void stopRecording();

    /// Pauses or goes on. What lies between is a cut of the edit.
    Q_INVOKABLE void togglePause();

    /// Marks a zoom where the pointer is; only while recording and not paused.
    Q_INVOKABLE void markZoom();

    /// While this is true no project is opened and no edit is made.
    bool isRecording() const { return m_recording != Recording::no; }
    bool isPaused() const { return m_recording == Recording::paused; }
    /// From the start of the countdown until nothing is recorded any more: what shall not be seen stays out of sight.
    bool capturing() const { return m_captured.has_value(); }
    /// What is about to be recorded or is: its area in the global display space. Nothing unless `capturing`.
    struct Captured {
        CaptureSource source;
        Rect area; ///< The part of the source that is recorded.
    };
    const std::optional<Captured>& captured() const { return m_captured; }
    /// The seconds until a recording begins, 3 to 1; 0 when none is about to.
    int countdown() const { return m_countdown; }
    /// Seconds since the first frame of the recording.
    double recordingTime() const { return m_recordingTime; }

    // --- Settings of this run ---------------------------------------------------------------------------------------------

    /// Height and frame rate of the next recording and of exports.
    RecordingOptions options() const { return m_options; }
    void setOptions(const RecordingOptions& options);
    /// "small", "balanced" or "high".
    QString exportQuality() const { return m_exportQuality; }
    void setExportQuality(const QString& quality);
    /// The subtitles of exports; remembered.
    ExportChoice* exportChoice() { return &m_exportChoice; }
    /// Language of speech recognition, "es-ES" or "en-US".
    QString language() const { return m_language; }
    void setLanguage(const QString& language);
    /// The name of the speech model, one that `SpeechModels` knows.
    QString speechModel() const { return QString::fromStdString(m_transcription.model); }
    void setSpeechModel(const QString& model);
    /// Whether the recognition takes more time to make fewer errors.
    bool carefulTranscription() const { return m_transcription.decoding == SpeechRecognizer::Decoding::careful; }
    void setCarefulTranscription(bool careful);

    // --- The installation (AppModelInstallation.cpp) ----------------------------------------------------------------------

    /// Whether an `ffmpeg` is found now. `toolsChanged` asks to look again: the application came to the front, perhaps from
    /// a terminal in which it was installed.
    bool ffmpegAvailable() const;
    /// Show the folder of the library and the folder for speech models (which is made) in the file manager.
    Q_INVOKABLE void openProjectsFolder();
    Q_INVOKABLE void openModelFolder();
    /// What this desktop asks for, and does not, before screen, clicks and keys may be seen.
    QString permissionsText() const;
    /// Show the desktop's settings for the privacy of the screen, and for global shortcuts, or say that it has none.
    Q_INVOKABLE void openScreenPrivacy();
    Q_INVOKABLE void allowGlobalInput();

    // --- Browsers (AppModelBrowser.cpp) -----------------------------------------------------------------------------------

    /// Shows the folder of the browser extension, which the user loads in the browser.
    Q_INVOKABLE void openExtensionFolder();

signals:
    void libraryListedChanged();
    void projectChanged();
    void selectedSpanChanged();
    void historyChanged();
    /// The open project is about to be saved, exported, published, cut or left: a field that is being edited commits its
    /// text before this returns.
    void commitWanted();
    void unsavedChangesChanged();
    void playheadChanged();
    void playingChanged();
    void previewChanged();
    void busyChanged();
    void idleChanged();
    void progressChanged();
    void statusChanged();
    void errorMessageChanged();
    void recordingChanged();
    void capturingChanged();
    void countdownChanged();
    void recordingTimeChanged();
    void optionsChanged();
    void exportQualityChanged();
    void languageChanged();
    void transcriptionChanged();
    void domainTextChanged();
    void publicLinkChanged();
    void serverURLChanged();
    void adminTokenChanged();
    void connectionStatusChanged();
    void oauthClientIDChanged();
    void oauthClientSecretChanged();
    void usesDriveChanged();
    void copyRefusedChanged();
    void toolsChanged();

protected:
    enum class Recording : std::uint8_t { no, running, paused };
    void setRecording(Recording recording);

private:
    enum class PreviewOutcome : std::uint8_t { loaded, failed, superseded };

    // Tasks.
    void start(QCoro::Task<> task);
    QCoro::Task<> watchOver(QCoro::Task<> task);
    QCoro::Task<> runOperation(LongOperation work);

    // State and its notifications.
    void setProject(std::optional<VideoProject> project);
    void showProject();
    void stepThroughHistory(std::optional<VideoProject> version);
    void setStatus(const QString& status);
    void setErrorMessage(const QString& message);
    void setProgress(double progress);
    void setBusy(bool busy);
    void setPlayhead(double seconds);

    // The library.
    QCoro::Task<> listLibrary();
    void showLibrary(std::vector<VideoProject> projects);
    QCoro::Task<> openUnlisted(Uuid id);
    void openProject(VideoProject project, std::optional<VideoProject> unsavedEdits);

    // Recovery.
    /// The tracks of a project that could not be prepared.
    struct LostTracks {
        std::map<Uuid, std::string> reasons; ///< By track.
        QString failure; ///< The error that the user sees.
    };
    void setLost(const Uuid& id, LostTracks lost);
    QCoro::Task<> prepareListed(VideoProject project);
    /// What becomes of the history: one more step, the same steps, or none since what was before is of no use any more.
    enum class Undo : std::uint8_t { step, same, none };
    /// Changes a project of the library, whether it is the open one or not, and saves it.
    QCoro::Task<> changeProject(Uuid id, std::function<void(VideoProject&)> change, Undo undo);
    /// As `update`, for a project that may not be open any more. A step of its own, also in the middle of a gesture.
    QCoro::Task<> updateProject(Uuid id, std::function<void(VideoProject&)> change);

    // Saving.
    void noteEdit();
    void noteWritten(const Uuid& id, std::uint64_t version);
    void noteSaveFailed(const Uuid& id, std::uint64_t version, const QString& reason);
    void noteKeptOther(const QString& fileName);
    void saveEdits();
    void saveNow();
    void keepUnsavedEdits();
    void setWritten(std::uint64_t version);
    void watchDocument();
    QCoro::Task<> reloadWhenChangedElsewhere();

    // Editing.
    QCoro::Task<> pickImage();
    QCoro::Task<> copyImage(std::filesystem::path image);

    // The preview.
    PreviewComposition compose(const VideoProject& project) const;
    std::optional<std::filesystem::path> cameraOf(const VideoProject& project) const;
    void setPreview(Preview preview);
    QCoro::Task<> rebuildCamera(std::optional<std::filesystem::path> file);
    void followProject();
    void followVolumes();
    void watchPlayback(double seconds);
    void announceNextCut();
    void followWithCamera(double seconds);
    void notePlaying();

    // Import and export.
    QCoro::Task<> pickMovie(bool append);
    void importMovie(std::filesystem::path movie, bool append);
    QCoro::Task<> importNew(std::filesystem::path movie, WorkControl control);
    QCoro::Task<> importInto(Uuid target, std::filesystem::path movie, WorkControl control);
    QCoro::Task<> pickDestination(VideoProject project);

    // Recording.
    void prepareRecording();
    QCoro::Task<> record();
    void tellRecording();
    void noteDevice(TrackKind kind, bool isAway);
    QCoro::Task<> beginRecording(std::stop_token stop);
    QCoro::Task<std::optional<Rect>> pickRegion(CaptureSource source);
    QCoro::Task<bool> countDown();
    QCoro::Task<> endRecording();
    void showRecorded(VideoProject project);
    void noteRecordingFailed(const QString& reason);
    void doShortcut(ShortcutManager::Action action);
    void setCaptured(std::optional<Captured> captured);
    void setCountdown(int seconds);
    void followRecordingTime();

    // Transcription.
    QCoro::Task<> transcribeProject(VideoProject project, WorkControl control);

    // Browsers.
    QCoro::Task<> setUpBrowsers();
    void hearNotification(std::string_view name);
    // Publishing.
    QCoro::Task<> publishProject(VideoProject project, WorkControl control);
    QCoro::Task<std::shared_ptr<PublicationPackage>> preparePackage(VideoProject project, WorkControl control);
    void endTypedPolicy();
    void showPublication();
    /// Whether the fields say what a publication says, so that nothing typed is lost when they follow another.
    bool policyIsThatOf(const std::optional<Publication>& publication) const;
    /// A text for the clipboard, and what `status` says when it is there.
    struct Copy {
        std::string text;
        QString what; ///< "el enlace".
        QString done;
    };
    void copy(Copy copy, const QString& before = {});
    void setRefusedCopy(std::optional<Copy> copy);
    /// `before` begins the status when the desktop refuses it.
    void copyEmbedOf(const Publication& publication, const QString& before = {});

    // The publishing server.
    std::shared_ptr<Publisher> makePublisher() const;
    QCoro::Task<> loadCredential(WorkControl control, Keychain::Interaction interaction);
    QCoro::Task<> loadCredentialAtStart();
    QCoro::Task<> lookAtServer(WorkControl control);
    void setConnectionStatus(const QString& status);
    void setUsesDrive(bool uses);

    AppServices m_services;
    std::unique_ptr<NotificationObserver> m_notifications;

    LibraryModel m_library;
    TrackModel m_tracks;
    TranscriptModel m_transcript;
    CutModel m_cuts;
    ZoomModel m_zooms;
    OverlayModel m_overlays;
    SuggestionModel m_suggestions;
    bool m_libraryListed = false;
    bool m_listing = false;
    bool m_listAgain = false;
    std::set<Uuid> m_processing; ///< Recordings that are being prepared since the library was listed.
    std::map<Uuid, LostTracks> m_lost; ///< By project.
    std::uint64_t m_closedChanges = 0; ///< Counts the changes to projects that are not open.
    std::uint64_t m_opening = 0; ///< Counts what changes which project is open, so that an overtaken `select` ends.

    std::optional<VideoProject> m_project;
    ProjectFacts m_facts;
    History m_history;
    enum class Gesture : std::uint8_t { none, begun, recorded };
    Gesture m_gesture = Gesture::none;
    Span m_selectedSpan;

    // The number of a saved version of another project than the open one.
    static constexpr std::uint64_t otherProject = 1;

    std::uint64_t m_edited = 1; ///< Counts the versions of the open project.
    std::uint64_t m_asked = 1; ///< The version that was last asked to be saved.
    std::uint64_t m_written = 1; ///< The version on disk.
    std::uint64_t m_quiet = 0; ///< The version whose save may fail without a word.
    QTimer m_autosave;
    QTimer m_burst; ///< Runs while edits follow one another without a save.
    QTimer m_settling; ///< Runs from a change on disk until a look at it.
    QFileSystemWatcher m_documentWatcher;

    double m_playhead = 0;
    double m_sought = 0; ///< What the player was last asked for: the playhead in whole ticks.
    double m_cameraEnd = 0;
    bool m_playing = false;
    bool m_ended = false; ///< Playback has come to the end, which may lie before the project's.
    std::optional<double> m_announced; ///< The end of the cut that the player was last told to expect.
    Preview m_preview = Preview::Empty;
    PreviewComposition m_composition; ///< What `player` was last asked to load.
    std::optional<std::filesystem::path> m_cameraFile; ///< What `cameraPlayer` was last asked to load.
    Answer<PreviewOutcome> m_previewAnswer; ///< Of the load under way.

    bool m_busy = false;
    std::stop_source m_operationStop;
    double m_progress = 0;
    QString m_status = QStringLiteral("Listo para grabar");
    QString m_errorMessage;

    Recording m_recording = Recording::no;
    CaptureChoice m_capture;
    ShortcutManager m_shortcuts;
    std::optional<Captured> m_captured;
    std::set<TrackKind> m_away; ///< Of the recording: what gives nothing at the moment.
    std::optional<QString> m_failedAtOnce; ///< Why the recording that is being started cannot go on.
    int m_countdown = 0;
    QTimer m_second; ///< Of the countdown.
    Answer<bool> m_secondPassed; ///< False when the countdown is to end.
    double m_recordingTime = 0;
    QTimer m_recordingClock; ///< Shows the time while recording.
    RecordingOptions m_options;
    QString m_exportQuality = QStringLiteral("balanced");
    ExportChoice m_exportChoice;
    QString m_language = QStringLiteral("es-ES");
    TranscriptionOptions m_transcription{.model = std::string(SpeechModels::usual)};

    QString m_domainText;
    bool m_publicLink = false;
    /// Domains and link as typed for the publication under way, or for one that failed while another project was open.
    struct TypedPolicy {
        Uuid project;
        QString domains;
        bool isPublic = false;
        bool isUnderWay = true;
    };
    std::optional<TypedPolicy> m_typedPolicy;
    std::optional<Copy> m_refusedCopy;
    QString m_serverURL;
    QString m_adminToken;
    QString m_connectionStatus = QStringLiteral("Sin comprobar");
    bool m_usesDrive = true;
    QString m_oauthClientID;
    QString m_oauthClientSecret;

    ProjectDocuments m_documents;
    Workers m_workers;
    std::shared_ptr<RecordingSession> m_session; ///< While something is recorded.
    SerialWorker m_recorder; ///< Does everything with the session, in the order asked.
};

} // namespace orvo
