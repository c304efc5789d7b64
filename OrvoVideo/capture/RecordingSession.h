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

/// One recording and its project: from the project's folder to the finished document.
///
/// The project is in the library from the start, marked as being recorded. Every two seconds its document and the pointer
/// log follow the recording; a checkpoint that fails is made up for by the next. Whatever ends the process, the project is
/// there and can be recovered.
///
/// The operations block and may be called from any thread, one at a time but for `time`, `isPaused` and `markZoom`.
class RecordingSession {
public:
    /// What the session tells; called on threads of the session's own, of which none may be held or used to call `stop`.
    struct Listener {
        /// The project after a checkpoint.
        std::function<void(const VideoProject&)> onCheckpoint;
        /// The recording cannot go on (its source has ended, the disk is full), with an error for the user. `stop` is to be
        /// called soon; what was recorded until now is kept.
        std::function<void(const std::string&)> onError;
        /// Microphone or camera are away, or back.
        std::function<void(TrackKind, bool isAway)> onDevice;
    };

    struct Plan {
        CaptureSource source;
        CaptureOptions options;
        std::string title;
    };

    /// How a recording ended.
    struct Result {
        VideoProject project; ///< As it was saved last; "ready", or "recoverable" when a file could not be closed.
        std::optional<std::string> error; ///< For the user, when not everything went well.
    };

    /// Makes the project and begins to record. Where the machine has no microphone it records without one, and reports it to
    /// `Listener::onDevice` before the constructor returns. Throws what `ProjectStore` and `CaptureEngine::start` throw; a
    /// project that was made by then is left as "needs-recovery".
    RecordingSession(const ProjectStore& store, CaptureEngine& engine, Plan plan, Listener listener = {});

    /// Stops as `stop` does when that was not called.
    ~RecordingSession();
    RecordingSession(const RecordingSession&) = delete;
    RecordingSession& operator=(const RecordingSession&) = delete;

    /// The title of a recording that begins now: "Grabación · " and the local date and time.
    static std::string defaultTitle();

    /// What the user is told of a microphone or camera that gives nothing.
    static std::string awayText(TrackKind kind);

    const Uuid& id() const noexcept { return m_id; }

    /// The project as of the last checkpoint.
    VideoProject project() const;

    /// Pauses or goes on. A pause is a cut of the edit.
    void togglePause();
    bool isPaused() const;

    /// Marks a zoom where the pointer is.
    void markZoom();

    /// Seconds since the first sample.
    double time() const;

    /// Closes the files and saves the project. Called once. Never throws: see `Result`.
    Result stop();

private:
    void keepCheckpoints(const std::stop_token& stop);
    void checkpoint();
    void flush();
    void writeLog();
    void watchDisk();
    void endPause(double now);
    void tellError(const std::string& text);
    void create(const Plan& plan);
    void giveUp();

    const ProjectStore& m_store;
    CaptureEngine& m_engine;
    Listener m_listener;
    Uuid m_id;

    mutable std::mutex m_mutex; ///< Guards the following.
    VideoProject m_project;
    std::vector<PointerEvent> m_events;
    std::size_t m_savedEvents = 0; ///< How many of them are in the log.
    std::optional<double> m_pauseStart;
    bool m_stopped = false;
    bool m_errorTold = false;

    UniqueFd m_log; ///< The open pointer log; of the thread that writes checkpoints.
    off_t m_logLength = 0;
    std::map<std::filesystem::path, off_t> m_flushed; ///< Lengths of files when they were last brought to the disk.
    std::condition_variable_any m_wake;
    std::jthread m_checkpoints;
};

} // namespace orvo
