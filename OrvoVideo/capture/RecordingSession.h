#pragma once

#include "OrvoVideo/capture/CaptureEngine.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/UniqueFd.h"
#include "VideoCore/VideoProject.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace orvo {

/// One recording and its project, from creating the folder to the finished document.
///
/// The project is in the library, marked as being recorded, before anything is captured. Every two seconds a checkpoint
/// saves its document and the pointer log; a failed one is made up for by the next. Whatever ends the process, the
/// project can be recovered.
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

    /// Creates the project and starts recording. If the chosen microphone, or any, is not there, records without it and
    /// calls `Listener::onDevice` before the constructor returns. Throws what `ProjectStore` and `CaptureEngine::start`
    /// throw; a project created by then is left as "needs-recovery".
    RecordingSession(const ProjectStore& store, CaptureEngine& engine, Plan plan, Listener listener = {});

    /// Calls `stop` if nobody did.
    ~RecordingSession();
    RecordingSession(const RecordingSession&) = delete;
    RecordingSession& operator=(const RecordingSession&) = delete;

    /// The default title of a new recording: "Grabación · " and the local date and time.
    static std::string defaultTitle();

    /// The message for the user about a microphone or camera that delivers nothing.
    static std::string awayText(TrackKind kind);

    const Uuid& id() const noexcept { return m_id; }

    /// The project as of the last checkpoint.
    VideoProject project() const;

    /// Pauses or resumes. The pause becomes a cut of the edit.
    void togglePause();
    bool isPaused() const;

    /// Adds a zoom point at the pointer; outside of the recording, as over a button of ours, where it was seen last, or else
    /// in the middle. Ignored while paused.
    void markZoom();

    /// Seconds since the time origin; 0 before.
    double time() const;

    /// Closes the files and saves the project. Call once. Never throws: errors are in the result.
    Result stop();

private:
    void keepCheckpoints(const std::stop_token& stop);
    void checkpoint();
    void flush();
    void writeLog();
    void watchDisk();
    void endPause(double now);
    void reportError(const std::string& text);
    void create(const Plan& plan);
    void giveUp();

    const ProjectStore& m_store;
    CaptureEngine& m_engine;
    Listener m_listener;
    Uuid m_id;

    mutable std::mutex m_mutex; ///< Guards the members below.
    VideoProject m_project;
    std::vector<PointerEvent> m_events;
    std::size_t m_savedEvents = 0; ///< Number of events already in the log.
    std::optional<double> m_pauseStart;
    bool m_stopped = false;
    bool m_errorReported = false;

    UniqueFd m_log; ///< The pointer log; used by the checkpoint thread.
    off_t m_logLength = 0;
    std::map<std::filesystem::path, off_t> m_flushed; ///< Lengths of the files when last flushed.
    std::condition_variable_any m_wake;
    std::jthread m_checkpoints;
};

} // namespace orvo
