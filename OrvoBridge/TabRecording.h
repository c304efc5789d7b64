#pragma once

#include "OrvoBridge/Messages.h"
#include "VideoCore/AppendedFile.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/RecordedProject.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <utility>

namespace orvo::bridge {

/// The recording of a browser tab as a project of the library.
///
///     constructor              finish
///     ───────────► recording ─────────────► "processing-tab"
///       │ fails        │ destructor
///       ▼              └──────────────────► "recoverable-tab"
///   no project
///
/// The project exists from the start, marked as being recorded. `write` stores data before it returns; the document and
/// the pointer log are saved at every checkpoint. However the process ends, the application finds the project and
/// prepares it.
class TabRecording {
public:
    /// Creates the project. Throws what `RecordedProject` throws, and file system errors unchanged. Destroying the
    /// recording before `finish` interrupts it; the application prepares what exists.
    TabRecording(const ProjectStore& store, const Start& start);

    const Uuid& id() const noexcept { return m_project.id(); }

    /// Appends to a track's file. Throws `ProtocolError` for a chunk out of sequence or of an unknown track, and file
    /// system errors unchanged.
    void write(const Chunk& chunk);

    /// Throws `ProtocolError` for an unknown track.
    void setStarts(const Starts& starts);

    void add(Pointer pointer) { m_project.add(std::move(pointer.events)); }
    void setDuration(double seconds);

    /// When `checkpoint` is due.
    std::chrono::steady_clock::time_point nextCheckpoint() const noexcept { return m_project.nextCheckpoint(); }

    /// Saves the document and the pointer log, and flushes everything to disk. Throws as `RecordedProject::checkpoint`.
    void checkpoint();

    /// Ends the recording; the application prepares it. Throws file system errors unchanged; then the recording continues.
    void finish() { m_project.complete(); }

private:
    struct File {
        AppendedFile content;
        std::int64_t next = 0; ///< The sequence number of the next chunk.
    };

    RecordedProject m_project;
    std::map<TrackKind, File> m_files;
};

} // namespace orvo::bridge
