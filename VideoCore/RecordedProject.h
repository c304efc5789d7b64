#pragma once

#include "VideoCore/AppendedFile.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/VideoProject.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace orvo {

/// A project that is being recorded: its document, its pointer log, and the mark that names the recording process.
///
///                                      complete
///     constructor                    ┌───────────► "ready" or "processing-tab"; the mark is removed last
///     ───────────► "recording" or ───┤ interrupt
///       │ fails    "recording-tab",  ├───────────► "recoverable" or "recoverable-tab"; the mark stays
///       ▼          marked            │ failStart
///   no project       │     ▲         ├───────────► "needs-recovery"; the mark is removed last
///                    └─────┘         │ discard
///                  checkpoint        └───────────► no project
///
/// If the process dies, the mark names a dead process, and the project counts as interrupted (`CaptureSession`). The order
/// of the writes preserves everything up to the last checkpoint: the mark is created before the recording begins, the
/// pointer log and the tracks are written before the document that describes them, and the mark is removed last.
///
/// `project`, `change` and `add` may be called from any thread at any time. The other functions block; call them one at a
/// time, and none after the end.
class RecordedProject {
public:
    enum class Kind : std::uint8_t {
        capture, ///< The files are final; the end stores the pointer events in the document.
        tab, ///< The application prepares the files and reads the pointer events from the log; the document has none.
    };

    /// The time between the end of one checkpoint and the next.
    static constexpr std::chrono::seconds checkpointInterval{2};

    /// Whether the disk of the library has at least 48 MiB free. With less, start no recording and stop a running one.
    /// Returns true when the free space is unknown.
    static bool hasRoom(const ProjectStore& store) noexcept;

    /// Creates `project` in the library, in the state of `kind`, and marks it. Throws what `ProjectStore::create` throws,
    /// and file system errors unchanged; then it leaves no project behind.
    RecordedProject(const ProjectStore& store, Kind kind, VideoProject project);

    /// Calls `interrupt` unless the recording has ended.
    ~RecordedProject();
    RecordedProject(const RecordedProject&) = delete;
    RecordedProject& operator=(const RecordedProject&) = delete;

    const Uuid& id() const noexcept { return m_id; }
    const std::filesystem::path& folder() const noexcept { return m_folder; }
    bool hasRoom() const noexcept { return hasRoom(m_store); }

    /// The project as of the last change.
    VideoProject project() const;

    /// Changes the project and its date, and returns it. The next checkpoint saves it. `edit` must not call this object;
    /// its exceptions pass through.
    VideoProject change(const std::function<void(VideoProject&)>& edit);

    /// Adds pointer events; the next checkpoint appends them to the log.
    void add(std::vector<PointerEvent> events);

    /// When the next checkpoint is due.
    std::chrono::steady_clock::time_point nextCheckpoint() const noexcept { return m_nextCheckpoint; }

    /// Appends the new events to the log, all or none, flushes the files and saves `document`, a version of this project.
    /// The files of the tracks must exist. Tries every step, then throws the first error; the next checkpoint
    /// repeats the failed steps.
    void checkpoint(const VideoProject& document);

    /// Flushes the pointer log and the tracks to disk, as far as they have grown. Ignores errors: the next call retries.
    void flush();

    /// Ends a recording that is complete. If it throws a file system error, the recording continues; call `interrupt`.
    void complete();

    /// Ends an incomplete recording and saves as much as possible. The mark stays, and requests recovery once this
    /// process has ended.
    void interrupt() noexcept;

    /// Ends a recording that could not start, and keeps its files for recovery.
    void failStart() noexcept;

    /// Removes the project, for a recording without content.
    void discard() noexcept;

private:
    void writeLog();
    void end(std::string_view state);
    void endAnyway(std::string_view state) noexcept;

    const ProjectStore& m_store;
    const Kind m_kind;
    const Uuid m_id;
    const std::filesystem::path m_folder;

    mutable std::mutex m_mutex; ///< Guards the members below.
    VideoProject m_project;
    std::vector<PointerEvent> m_events; ///< For a tab, only those not yet in the log.
    std::size_t m_loggedEvents = 0; ///< The number of these in the log.

    std::optional<AppendedFile> m_log; ///< Closed at the end.
    std::map<std::filesystem::path, off_t> m_flushed; ///< Lengths of the files when last flushed.
    std::chrono::steady_clock::time_point m_nextCheckpoint;
};

} // namespace orvo
