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

/// Records from the application: choice of the source, countdown, recording, and the finished project. Main thread only.
///
///             start            found             placed           3, 2, 1          the session runs
///     Idle ─────────► Choosing ─────► Framing ──────────► Counting… ──────► Starting ──────────────► Recording ◄──► Paused
///       ▲                │               │                   │                 │        togglePause      │            │
///       │◄───────────────┴───────────────┴───────────────────┴─────────────────┘                         │            │
///       │     fails, or is cancelled (not any more while Starting)                    stop, or an error  │            │
///       └──────────────────────────────────────────── Stopping ◄─────────────────────────────────────────┴────────────┘
///
/// From Choosing to Starting, and while Stopping, this is the one long operation of the moment. From Recording to Stopping
/// the open project is locked and no other operation begins.
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
        Choosing, ///< The source is looked up, or the desktop asks for it.
        Framing, ///< The source is known; in the mode "region" the user drags the area.
        CountingThree,
        CountingTwo,
        CountingOne,
        Starting, ///< The session is being made.
        Recording,
        Paused,
        Stopping ///< The session closes its files.
    };
    Q_ENUM(Phase)

    /// What the recorder works with. All of it outlives the recorder.
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

    /// What the next recording is to show.
    CaptureChoice* capture() { return &m_capture; }

    /// Counts down, makes a project and records into it: it is the open one then. Ignored unless the operation is idle. A
    /// failure goes to the operation's error message; cancelling the operation ends the countdown.
    Q_INVOKABLE void start();
    /// Ends the recording and opens its project. Ignored unless Recording or Paused.
    Q_INVOKABLE void stop();
    /// Ends the recording and moves it to the desktop's trash; the project that was open before is opened again. When it
    /// cannot be moved, it stays in the library and the error says so. Ignored unless Recording or Paused.
    Q_INVOKABLE void discard();
    /// As `discard`, then records the same again, the same region too.
    Q_INVOKABLE void retake();
    /// Pauses or continues. A pause is a cut of the edit. Ignored unless Recording or Paused.
    Q_INVOKABLE void togglePause();
    /// Marks a zoom where the pointer is. Ignored unless Recording.
    Q_INVOKABLE void markZoom();
    /// Does what a shortcut asks for.
    void obey(ShortcutManager::Action action);

    Phase phase() const { return m_phase; }
    /// While this is true no project is opened and no edit is made.
    bool isRecording() const { return m_phase >= Phase::Recording; }
    bool isPaused() const { return m_phase == Phase::Paused; }
    /// From Framing until nothing is recorded any more: what shall not be seen stays out of sight.
    bool capturing() const { return m_phase >= Phase::Framing; }
    /// The seconds until a recording begins, 3 to 1; 0 outside of the countdown.
    int countdown() const;

    /// What is about to be recorded or is: its area in the global display space. Empty unless `capturing`.
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
    /// Whether the microphone has given no more than the noise of a muted one for five seconds of a running recording.
    bool microphoneUnheard() const { return m_unheard; }

    /// Keeps what was recorded, and resumes what waits here with `Cancelled`.
    void shutDown();

signals:
    void phaseChanged();
    void timeChanged();
    void microphoneUnheardChanged();
    /// A recording has ended well and is the open project now.
    void saved();
    /// A browser's tab is to be recorded, which is begun in the browser.
    void tabWanted();

private:
    friend struct RecorderForTests; ///< Puts it into a phase.

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
    std::set<TrackKind> m_away; ///< What gives nothing at the moment.
    std::optional<QString> m_failedAtOnce; ///< Why the recording that is being started cannot continue.
    QTimer m_second; ///< Of the countdown.
    Answer<bool> m_secondPassed; ///< False when the countdown is to end.
    double m_time = 0;
    bool m_listens = false; ///< Whether the microphone is recorded.
    double m_level = 0;
    double m_heardAt = 0; ///< The time of the recording at which the microphone was last heard.
    bool m_unheard = false;
    std::optional<Uuid> m_before; ///< The project that was open before the recording.
    std::optional<Rect> m_sameRegion; ///< For the next recording, which repeats one.
    bool m_startsAgain = false; ///< When the running operation has ended.
    QTimer m_clock; ///< Shows the time while recording.
    std::shared_ptr<RecordingSession> m_session; ///< While something is recorded.
    SerialWorker m_worker; ///< Does everything with the session, in the order asked.
};

} // namespace orvo
