#pragma once

#include "OrvoVideo/capture/CaptureEngine.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/RecordedProject.h"
#include "VideoCore/VideoProject.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

namespace orvo {

/// One recording and its project, from creating the folder to the finished document.
///
///     constructor            togglePause
///     ───────────► recording ◄─────────► paused
///       │ cannot       └────────┬──────────┘
///       │ start                 │ stop
///       ▼                       ├─────────────────────────────────────► "ready"
///   "needs-recovery"            │ a file cannot be closed or saved
///                               └─────────────────────────────────────► "recoverable"
///
/// The project is in the library, marked as being recorded, before anything is captured (`RecordedProject`). Every two
/// seconds a checkpoint saves its document and the pointer log; the next one makes up for a failure. However the process
/// ends, the project can be recovered.
///
/// Operations block. Call them from any thread, one at a time; `time`, `isPaused` and `markZoom` at any time.
class RecordingSession {
public:
    /// Callbacks. They run on threads of the session, must not block and must not call `stop`.
    struct Listener {
        /// A checkpoint was made.
        std::function<void(const VideoProject&)> onCheckpoint;
        /// The recording cannot continue (the source ended, the disk is full); the text is for the user. Call `stop`
        /// soon: everything recorded so far is kept.
        std::function<void(const std::string&)> onError;
        /// The microphone or the camera stopped delivering, or delivers again.
        std::function<void(TrackKind, bool isAway)> onDevice;
    };

    struct Plan {
        CaptureSource source;
        CaptureOptions options;
        std::string title;
    };

    /// The outcome of a recording.
    struct Result {
        VideoProject project; ///< As last saved; "ready", or "recoverable" if a file could not be closed.
        std::optional<std::string> error; ///< For the user, if something went wrong.
    };

    /// Creates the project and starts recording. If the chosen microphone is missing, records without it and
    /// calls `Listener::onDevice` before the constructor returns. Throws what `RecordedProject` and `CaptureEngine::start`
    /// throw, and `captureError` when the disk is nearly full; a project created by then is left as "needs-recovery".
    RecordingSession(const ProjectStore& store, CaptureEngine& engine, const Plan& plan, Listener listener = {});

    /// Calls `stop` unless it was called.
    ~RecordingSession();
    RecordingSession(const RecordingSession&) = delete;
    RecordingSession& operator=(const RecordingSession&) = delete;

    /// The default title of a new recording: "Grabación · " and the local date and time.
    static std::string defaultTitle();

    /// The message for the user about a microphone or camera that delivers nothing.
    static std::string awayText(TrackKind kind);

    const Uuid& id() const noexcept { return m_project.id(); }

    /// The project as of the last checkpoint.
    VideoProject project() const { return m_project.project(); }

    /// Pauses or resumes. The pause becomes a cut of the edit.
    void togglePause();
    bool isPaused() const;

    /// Adds a zoom point at the pointer. While the pointer is outside the recording (over one of our buttons), uses its last
    /// position inside, or else the middle. Ignored while paused.
    void markZoom();

    /// Seconds since the time origin; 0 before.
    double time() const;

    /// Closes the files and saves the project. Call once. Never throws: errors are in the result.
    Result stop();

private:
    /// Records with `options` instead of `plan.options`.
    RecordingSession(const ProjectStore& store, CaptureEngine& engine, const Plan& plan, const CaptureOptions& options,
        Listener listener);

    void keepCheckpoints(const std::stop_token& stop);
    void checkpoint();
    void endPause(double now);
    void reportError(const std::string& text);
    void silenceEngine();

    CaptureEngine& m_engine;
    Listener m_listener;
    RecordedProject m_project;

    mutable std::mutex m_mutex; ///< Guards the members below. Locked before `m_project` is changed.
    PointerEvent m_lastEvent{.x = 0.5, .y = 0.5}; ///< The middle before the first event.
    std::optional<double> m_pauseStart;
    bool m_errorReported = false;

    bool m_stopped = false;
    std::condition_variable_any m_wake;
    std::jthread m_checkpoints;
};

} // namespace orvo
