#include "VideoCore/RecordedProject.h"

#include "VideoCore/CaptureSession.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/PointerLog.h"
#include "VideoCore/UniqueFd.h"

#include <algorithm>
#include <exception>
#include <fcntl.h>
#include <iterator>
#include <span>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// The states of a document for one kind of recording.
struct States {
    std::string_view recording;
    std::string_view complete;
    std::string_view interrupted;
};

constexpr States statesOf(RecordedProject::Kind kind)
{
    if (kind == RecordedProject::Kind::tab)
        return {ProjectState::recordingTab, ProjectState::processingTab, ProjectState::recoverableTab};
    return {ProjectState::recording, ProjectState::ready, ProjectState::recoverable};
}

/// Flushes a file to disk, whichever thread wrote it, if its length has changed since `before`. Returns the length on
/// disk.
off_t flushed(const fs::path& file, off_t before)
{
    const UniqueFd opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat facts{};
    if (!opened || ::fstat(opened.get(), &facts) != 0 || (facts.st_size != before && ::fdatasync(opened.get()) != 0))
        return before;
    return facts.st_size;
}

} // namespace

bool RecordedProject::hasRoom(const ProjectStore& store) noexcept
{
    constexpr std::uintmax_t minRoom = std::uintmax_t{48} << 20; // Bytes.
    std::error_code error;
    const auto space = fs::space(store.root(), error);
    return error || space.available >= minRoom;
}

RecordedProject::RecordedProject(const ProjectStore& store, Kind kind, VideoProject project)
    : m_store(store)
    , m_kind(kind)
    , m_id(project.id)
    , m_folder(store.directory(m_id))
    , m_project(std::move(project))
    , m_nextCheckpoint(std::chrono::steady_clock::now() + checkpointInterval)
{
    m_project.state = statesOf(kind).recording;
    try {
        m_store.create(m_project);
        CaptureSession::mark(m_folder);
        m_log.emplace(m_folder / PointerLog::fileName);
    } catch (const std::exception&) {
        discard();
        throw;
    }
}

RecordedProject::~RecordedProject()
{
    if (m_log)
        interrupt();
}

VideoProject RecordedProject::project() const
{
    const std::lock_guard lock(m_mutex);
    return m_project;
}

VideoProject RecordedProject::change(const std::function<void(VideoProject&)>& edit)
{
    const std::lock_guard lock(m_mutex);
    edit(m_project);
    m_project.updatedAt = now();
    return m_project;
}

void RecordedProject::add(std::vector<PointerEvent> events)
{
    const std::lock_guard lock(m_mutex);
    std::ranges::move(events, std::back_inserter(m_events));
}

void RecordedProject::checkpoint(const VideoProject& document)
{
    std::exception_ptr failure;
    try {
        writeLog();
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    flush();
    try {
        m_store.save(document);
    } catch (const std::exception&) {
        if (!failure)
            failure = std::current_exception();
    }
    m_nextCheckpoint = std::chrono::steady_clock::now() + checkpointInterval;
    if (failure)
        std::rethrow_exception(failure);
}

void RecordedProject::writeLog()
{
    std::string lines;
    std::size_t count = 0;
    {
        const std::lock_guard lock(m_mutex);
        count = m_events.size();
        lines = PointerLog::linesOf(std::span(m_events).subspan(m_loggedEvents));
    }
    m_log->append(lines);
    const std::lock_guard lock(m_mutex);
    if (m_kind == Kind::tab)
        m_events.erase(m_events.begin(), std::next(m_events.begin(), static_cast<std::ptrdiff_t>(count)));
    else
        m_loggedEvents = count;
}

void RecordedProject::flush()
{
    if (m_flushed.empty()) {
        try {
            flushFolder(m_folder / ProjectStore::mediaName);
        } catch (const std::exception&) {
            // Without it, flushing the files still writes their directory entries on common file systems.
        }
    }
    std::vector<fs::path> files{m_folder / PointerLog::fileName};
    const auto tracks = project().tracks;
    for (const auto& track : tracks)
        files.push_back(m_folder / track.file);
    for (const auto& file : files) {
        auto& length = m_flushed[file];
        length = flushed(file, length);
    }
}

void RecordedProject::complete()
{
    end(statesOf(m_kind).complete);
    CaptureSession::unmark(m_folder);
}

void RecordedProject::interrupt() noexcept
{
    endAnyway(statesOf(m_kind).interrupted);
}

void RecordedProject::failStart() noexcept
{
    endAnyway(ProjectState::needsRecovery);
    // Without it, and if its document could not be saved, the project counts as interrupted.
    CaptureSession::unmark(m_folder);
}

void RecordedProject::discard() noexcept
{
    m_log.reset();
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

/// Ends the recording in `state`. If this throws, the recording continues.
void RecordedProject::end(std::string_view state)
{
    try {
        writeLog();
    } catch (const std::exception&) {
        // A capture's document holds the events too, and an interrupted tab may lose the last ones.
        if (state == ProjectState::processingTab)
            throw;
    }
    flush();
    VideoProject document = project();
    document.state = state;
    document.updatedAt = now();
    if (m_kind == Kind::capture) {
        const std::lock_guard lock(m_mutex);
        document.edit.events = SharedList(m_events);
    }
    m_store.save(document);
    m_log.reset();
    const std::lock_guard lock(m_mutex);
    m_project = std::move(document);
}

/// Ends the recording in `state`, even if its document cannot be saved.
void RecordedProject::endAnyway(std::string_view state) noexcept
{
    try {
        end(state);
    } catch (const std::exception&) {
        m_log.reset();
        const std::lock_guard lock(m_mutex);
        m_project.state = state;
    }
}

} // namespace orvo
