#pragma once

#include "OrvoBridge/Messages.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/UniqueFd.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orvo::bridge {

/// The recording of a browser tab as a project of the library.
///
/// The project exists from the start, marked as being recorded. `write` stores data before it returns; the document and
/// the pointer log are saved at every checkpoint. Whatever ends the process, the application finds the project and
/// prepares it.
class TabRecording {
public:
    /// Creates the project. Throws what `ProjectStore::create` throws, and file system errors unchanged.
    TabRecording(const ProjectStore& store, const Start& start);

    /// Calls `interrupt` unless it or `finish` was called.
    ~TabRecording();
    TabRecording(const TabRecording&) = delete;
    TabRecording& operator=(const TabRecording&) = delete;

    const Uuid& id() const noexcept { return m_project.id; }

    /// Appends to a track's file. Throws `ProtocolError` for a chunk out of sequence or of an unknown track, and file
    /// system errors unchanged.
    void write(const Chunk& chunk);

    /// Throws `ProtocolError` for an unknown track.
    void setStarts(const Starts& starts);

    void add(Pointer pointer);
    void setDuration(double seconds);

    /// Saves the document and the pointer log, and flushes everything to disk. Call every two seconds. Throws file system
    /// errors unchanged; the next checkpoint makes up for a failed one.
    void checkpoint();

    /// Ends the recording; the application prepares it. Throws as `checkpoint`.
    void finish();

    /// Ends an interrupted recording; the application prepares what exists. Never fails.
    void interrupt() noexcept;

private:
    struct File {
        UniqueFd descriptor;
        std::int64_t next = 0; ///< The sequence number of the next chunk.
        std::filesystem::path path;
    };

    void end(std::string_view state);
    void closeFiles() noexcept;

    const ProjectStore& m_store;
    VideoProject m_project;
    std::map<TrackKind, File> m_files;
    File m_log;
    std::vector<PointerEvent> m_events; ///< Not in the log yet.
    bool m_ended = false;
};

} // namespace orvo::bridge
