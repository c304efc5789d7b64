#pragma once

#include "OrvoVideo/capture/RecordingSession.h"
#include "OrvoVideo/model/Answer.h"
#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/CaptureChoice.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/Playback.h"
#include "OrvoVideo/model/ProjectLibrary.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/ShortcutManager.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>

namespace orvo {

/// Makes recordings: choice of the source, countdown, recording and the finished project. Main thread only.
///
///             start            found             placed           3, 2, 1          the session runs
///     Idle ─────────► Choosing ─────► Framing ──────────► Counting… ──────► Starting ──────────────► Recording ◄──► Paused
///       ▲                │               │                   │                 │        togglePause      │            │
///       │◄───────────────┴───────────────┴───────────────────┴─────────────────┘                         │            │
///       │     fails, or is cancelled (not any more while Starting)                    stop, or an error  │            │
///       └──────────────────────────────────────────── Stopping ◄─────────────────────────────────────────┴────────────┘
///
/// From Choosing to Starting, and while Stopping, this is the one long operation. From Recording to Stopping the open
/// project is locked and no other operation begins.
class Recorder : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY phaseChanged)
    Q_PROPERTY(bool isPaused READ isPaused NOTIFY phaseChanged)
    Q_PROPERTY(bool capturing READ capturing NOTIFY phaseChanged)
    Q_PROPERTY(int countdown READ countdown NOTIFY phaseChanged)
    Q_PROPERTY(double time READ time NOTIFY timeChanged)
    Q_PROPERTY(double microphoneLevel READ microphoneLevel NOTIFY timeChanged)
    Q_PROPERTY(bool recordsMicrophone READ recordsMicrophone NOTIFY phaseChanged)
    Q_PROPERTY(bool microphoneUnheard READ microphoneUnheard NOTIFY microphoneUnheardChanged)
    Q_PROPERTY(orvo::CaptureChoice* capture READ capture CONSTANT)
public:
    enum class Phase : quint8 {
        Idle,
        Choosing, ///< The source is looked up, or the desktop asks the user for it.
        Framing, ///< The source is known; in the mode "region" the user drags the area.
        CountingThree,
        CountingTwo,
        CountingOne,
        Starting, ///< The session is being created.
        Recording,
        Paused,
        Stopping ///< The session closes its files.
    };
    Q_ENUM(Phase)

    /// The collaborators of the recorder; all outlive it.
    struct Parts {
        const ProjectStore& store;
        OpenProject& open;
        Saving& saving;
        ProjectLibrary& library;
        Playback& playback;
        Operation& operation;
        const RecordingOptions& options;
    };
    Recorder(RecordingServices services, const Parts& parts);

    /// The source of the next recording.
    CaptureChoice* capture() { return &m_capture; }

    /// Counts down, creates a project, opens it and records into it. Ignored unless the operation is idle. A failure goes to
    /// the operation's error message; cancelling the operation ends the countdown.
    Q_INVOKABLE void start();
    /// Ends the recording and opens its project. Ignored unless Recording or Paused.
    Q_INVOKABLE void stop();
    /// Ends the recording, moves it to the desktop's trash and reopens the project that was open before. If it cannot be
    /// moved, reports the error and keeps it in the library. Ignored unless Recording or Paused.
    Q_INVOKABLE void discard();
    /// As `discard`, then records the same source and region again.
    Q_INVOKABLE void retake();
    /// Pauses or continues. A pause becomes a cut. Ignored unless Recording or Paused.
    Q_INVOKABLE void togglePause();
    /// Adds a zoom point at the pointer. Ignored unless Recording.
    Q_INVOKABLE void markZoom();
    /// Executes the action of a shortcut.
    void obey(ShortcutManager::Action action);

    Phase phase() const { return m_phase; }
    /// While true, no project is opened or edited.
    bool isRecording() const { return m_phase >= Phase::Recording; }
    bool isPaused() const { return m_phase == Phase::Paused; }
    /// True from Framing to the end of the recording: windows that must not be recorded hide.
    bool capturing() const { return m_phase >= Phase::Framing; }
    /// The seconds until a recording begins, 3 to 1; 0 outside of the countdown.
    int countdown() const;

    /// The recorded source with its area in the global display space. Empty unless `capturing`.
    struct Captured {
        CaptureSource source;
        Rect area; ///< The part of the source that is recorded.
    };
    const std::optional<Captured>& captured() const { return m_captured; }
    /// Seconds since the first frame of the recording.
    double time() const { return m_time; }
    /// The level of the microphone, 0 (−60 dB or less) to 1, while it is recorded.
    double microphoneLevel() const { return m_level; }
    bool recordsMicrophone() const { return isRecording() && m_listens; }
    /// Whether the microphone was silent (below −50 dB) for the last five seconds of the running recording.
    bool microphoneUnheard() const { return m_unheard; }

    /// Ends and keeps the recording; waiting coroutines resume with `Cancelled`.
    void shutDown();

signals:
    void phaseChanged();
    void timeChanged();
    void microphoneUnheardChanged();
    /// A recording has ended without error and is the open project.
    void saved();
    /// The user wants to record a browser tab, which starts in the browser.
    void tabWanted();

private:
    friend struct RecorderForTests; ///< Sets the phase.

    QCoro::Task<> record(std::stop_token stop);
    QCoro::Task<std::optional<Rect>> pickRegion(CaptureSource source);
    QCoro::Task<> countDown(std::stop_token stop);
    RecordingSession::Listener makeListener();
    QCoro::Task<> finish();
    enum class After : std::uint8_t { nothing, again };
    void drop(After after);
    QCoro::Task<> moveAway(After after);
    void show(const RecordingSession::Result& result);
    void followLevel();
    void setUnheard(bool unheard);
    void becomeIdle();
    void setPhase(Phase phase);
    void showCheckpoint(VideoProject project);
    void noteDevice(TrackKind kind, bool isAway);
    void noteFailed(const QString& reason);
    void sayHowItIs();
    void followTime();

    RecordingServices m_services;
    const Parts m_parts;
    CaptureChoice m_capture;
    Phase m_phase = Phase::Idle;
    std::optional<Captured> m_captured;
    std::set<TrackKind> m_away; ///< Devices that deliver nothing at the moment.
    std::optional<QString> m_failedAtOnce; ///< The failure reported during Starting.
    QTimer m_second; ///< Of the countdown.
    Answer<bool> m_secondPassed; ///< False ends the countdown.
    double m_time = 0;
    bool m_listens = false; ///< Whether the microphone is recorded.
    double m_level = 0;
    double m_heardAt = 0; ///< The recording time at which the microphone was last heard.
    bool m_unheard = false;
    std::optional<Uuid> m_before; ///< The project that was open before the recording.
    std::optional<Rect> m_sameRegion; ///< The region of a retake.
    bool m_startsAgain = false; ///< Starts again once the running operation has ended.
    QTimer m_clock; ///< Shows the time while recording.
    std::shared_ptr<RecordingSession> m_session; ///< Set while recording.
    SerialWorker m_worker; ///< Makes all calls to the session, in order.
};

} // namespace orvo
