#pragma once

#include "OrvoBridge/Messages.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/UniqueFd.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orvo::bridge {

/// A tab that is being recorded, as a project of the library.
///
/// The project is there from the start, marked as being recorded. What the browser sends is in its files when the call
/// returns; the document and the pointer log follow at every checkpoint. Whatever ends the process, the application finds
/// the project and prepares what there is.
class TabRecording {
public:
    /// Makes the project. Throws what `ProjectStore::create` throws, and file system errors unchanged.
    TabRecording(const ProjectStore& store, const Start& start);

    /// Ends as `interrupt` does, when neither it nor `finish` was called.
    ~TabRecording();
    TabRecording(const TabRecording&) = delete;
    TabRecording& operator=(const TabRecording&) = delete;

    const Uuid& id() const noexcept { return m_project.id; }

    /// Adds to a track's file. Throws `ProtocolError` for a piece that is not the next, or of a track that is not recorded,
    /// file system errors unchanged.
    void write(const Chunk& chunk);

    /// Throws `ProtocolError` for a track that is not recorded.
    void setStarts(const Starts& starts);

    void add(Pointer pointer);
    void setDuration(double seconds);

    /// Brings the document and the pointer log to what is recorded by now, and all of it to the disk. Called every two
    /// seconds. Throws file system errors unchanged; what a failed checkpoint left out is made up for by the next.
    void checkpoint();

    /// Ends the recording; the application prepares it. Throws like `checkpoint`.
    void finish();

    /// Ends a recording that was cut off: the application prepares what there is. Never fails.
    void interrupt() noexcept;

private:
    struct File {
        UniqueFd descriptor;
        std::int64_t next = 0; ///< The sequence number of the next piece.
        std::filesystem::path path;
    };

    void end(std::string_view state);
    void closeFiles() noexcept;

    const ProjectStore& m_store;
    VideoProject m_project;
    std::map<TrackKind, File> m_files;
    File m_log;
    std::vector<PointerEvent> m_events; ///< That are not in the log yet.
    bool m_ended = false;
};

} // namespace orvo::bridge
