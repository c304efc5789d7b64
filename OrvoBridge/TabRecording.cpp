#include "OrvoBridge/TabRecording.h"

#include "VideoCore/CaptureSession.h"
#include "VideoCore/PointerLog.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <format>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace orvo::bridge {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const char* action, const fs::path& file)
{
    throw fs::filesystem_error(action, file, std::error_code(errno, std::generic_category()));
}

UniqueFd openNew(const fs::path& file)
{
    UniqueFd descriptor(::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0600));
    if (!descriptor)
        fail("create", file);
    return descriptor;
}

/// Writes all bytes or, if possible, none: a partial chunk would corrupt what follows.
void append(int descriptor, std::string_view bytes, const fs::path& file)
{
    const off_t before = ::lseek(descriptor, 0, SEEK_END);
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            const int error = errno;
            [[maybe_unused]] const int cut = ::ftruncate(descriptor, before);
            errno = error;
            fail("write", file);
        }
    }
}

} // namespace

TabRecording::TabRecording(const ProjectStore& store, const Start& start)
    : m_store(store)
    , m_project(VideoProject::make(start.title.empty() ? "Pestaña" : start.title))
{
    m_project.state = ProjectState::recordingTab;
    m_project.width = start.width;
    m_project.height = start.height;
    m_project.fps = start.fps;
    std::vector<MediaTrack> tracks;
    tracks.reserve(start.tracks.size());
    for (const TrackKind kind : start.tracks)
        tracks.push_back({.kind = kind, .file = std::format("{}/{}.webm", ProjectStore::mediaName, orvo::textOf(kind))});
    m_project.tracks = SharedList(std::move(tracks));

    const fs::path folder = store.directory(m_project.id);
    try {
        store.create(m_project);
        CaptureSession::mark(folder);
        for (const auto& track : m_project.tracks) {
            const fs::path path = folder / track.file;
            m_files.emplace(track.kind, File{.descriptor = openNew(path), .path = path});
        }
        m_log.path = folder / PointerLog::fileName;
        m_log.descriptor = openNew(m_log.path);
    } catch (...) {
        closeFiles();
        // Nothing was recorded.
        std::error_code ignored;
        fs::remove_all(folder, ignored);
        throw;
    }
}

TabRecording::~TabRecording()
{
    interrupt();
}

void TabRecording::write(const Chunk& chunk)
{
    const auto found = m_files.find(chunk.track);
    if (found == m_files.end())
        throw ProtocolError("this track is not recorded");
    File& file = found->second;
    if (chunk.sequence != file.next)
        throw ProtocolError(std::format("piece {} came where {} is next", chunk.sequence, file.next));
    append(file.descriptor.get(), chunk.data, file.path);
    ++file.next;
}

void TabRecording::setStarts(const Starts& starts)
{
    auto& tracks = m_project.tracks.edit();
    for (const auto& entry : starts.entries) {
        const auto track = std::ranges::find(tracks, entry.track, &MediaTrack::kind);
        if (track == tracks.end())
            throw ProtocolError("this track is not recorded");
        track->start = entry.seconds;
    }
}

void TabRecording::add(Pointer pointer)
{
    std::ranges::move(pointer.events, std::back_inserter(m_events));
}

void TabRecording::setDuration(double seconds)
{
    m_project.duration = seconds;
    for (auto& track : m_project.tracks.edit())
        track.duration = std::max(0.0, seconds - track.start);
}

void TabRecording::checkpoint()
{
    if (!m_events.empty()) {
        append(m_log.descriptor.get(), PointerLog::linesOf(m_events), m_log.path);
        m_events.clear();
    }
    for (const auto& [kind, file] : m_files)
        ::fdatasync(file.descriptor.get());
    m_project.updatedAt = now();
    m_store.save(m_project);
}

void TabRecording::finish()
{
    end(ProjectState::processingTab);
    CaptureSession::unmark(m_store.directory(m_project.id));
}

void TabRecording::interrupt() noexcept
{
    if (m_ended)
        return;
    try {
        end(ProjectState::recoverableTab);
    } catch (const std::exception&) {
        // The mark stays, and requests recovery once this process has ended.
        closeFiles();
    }
}

void TabRecording::end(std::string_view state)
{
    const std::string before = std::exchange(m_project.state, std::string(state));
    try {
        checkpoint();
    } catch (...) {
        m_project.state = before;
        throw;
    }
    m_ended = true;
    closeFiles();
}

void TabRecording::closeFiles() noexcept
{
    m_log.descriptor.reset();
    m_files.clear();
}

} // namespace orvo::bridge
