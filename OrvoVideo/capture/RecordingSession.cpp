#include "OrvoVideo/capture/RecordingSession.h"

#include "VideoCore/CaptureSession.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/PointerLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <format>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

constexpr auto checkpointInterval = 2s;

/// Between two checks for data to flush. A fragment of a track holds two seconds, and reaches the disk at most this much
/// later.
constexpr auto flushInterval = 250ms;

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

/// Whether this microphone, or any for an empty identifier, is plugged in. True where nobody knows: opening it reports why.
bool isMicrophoneThere(const std::string& device)
{
    if (!AudioInputs::hasMicrophone())
        return false;
    try {
        return device.empty() || std::ranges::contains(AudioInputs::list().microphones, device, &AudioDevice::id);
    } catch (const Error&) {
        return true;
    }
}

} // namespace

std::string RecordingSession::defaultTitle()
{
    static constexpr std::array months{"ene", "feb", "mar", "abr", "may", "jun", "jul", "ago", "sept", "oct", "nov", "dic"};
    const std::time_t instant = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&instant, &local);
    return std::format("Grabación · {} {} {}, {}:{:02}", local.tm_mday, months.at(static_cast<std::size_t>(local.tm_mon)),
        1900 + local.tm_year, local.tm_hour, local.tm_min);
}

std::string RecordingSession::awayText(TrackKind kind)
{
    return kind == TrackKind::camera ? "La cámara no responde: se graba sin ella."
                                     : "El micrófono no responde: se graba sin él.";
}

RecordingSession::RecordingSession(const ProjectStore& store, CaptureEngine& engine, Plan plan, Listener listener)
    : m_store(store)
    , m_engine(engine)
    , m_listener(std::move(listener))
{
    const bool lacksMicrophone = plan.options.microphone && !isMicrophoneThere(plan.options.microphoneDevice);
    if (lacksMicrophone)
        plan.options.microphone = false;
    create(plan);
    try {
        m_engine.onEvent = [this](const PointerEvent& event) {
            const std::lock_guard lock(m_mutex);
            m_events.push_back(event);
        };
        m_engine.onError = [this](const std::exception_ptr& error) {
            try {
                std::rethrow_exception(error);
            } catch (const std::exception& reason) {
                reportError(describe(reason));
            }
        };
        m_engine.onDevice = m_listener.onDevice;
        const fs::path folder = m_store.directory(m_id);
        auto tracks = m_engine.start(plan.source, folder / ProjectStore::mediaName, plan.options);
        const std::lock_guard lock(m_mutex);
        m_project.tracks = SharedList(std::move(tracks));
        m_log.reset(::open((folder / PointerLog::fileName).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    } catch (const std::exception&) {
        const auto error = std::current_exception();
        giveUp();
        std::rethrow_exception(error);
    }
    try {
        flushFolder(m_store.directory(m_id) / ProjectStore::mediaName);
    } catch (const std::exception&) {
        // Without it, flushing the files still writes their directory entries on common file systems.
    }
    if (lacksMicrophone && m_listener.onDevice)
        m_listener.onDevice(TrackKind::microphone, true);
    checkpoint();
    m_checkpoints = std::jthread([this](const std::stop_token& stop) { keepCheckpoints(stop); });
}

RecordingSession::~RecordingSession()
{
    if (!m_stopped)
        stop();
}

/// Creates and marks the project before anything is captured.
void RecordingSession::create(const Plan& plan)
{
    if (!CaptureSession::hasRoom(m_store.root()))
        throw captureError("No hay espacio suficiente en el disco para grabar.");
    m_project = VideoProject::make(plan.title);
    m_id = m_project.id;
    m_project.state = ProjectState::recording;
    const auto size = captureSize(plan.options.region.value_or(plan.source.rect), plan.source.scale, plan.options.height);
    m_project.width = size.width;
    m_project.height = size.height;
    m_project.fps = plan.options.fps;
    m_project.tracks = SharedList(CaptureEngine::tracks(plan.options));
    m_store.create(m_project);
    CaptureSession::mark(m_store.directory(m_id));
}

/// Keeps the project of a failed start for recovery.
void RecordingSession::giveUp()
{
    m_engine.onEvent = {};
    m_engine.onError = {};
    m_engine.onDevice = {};
    m_stopped = true;
    m_project.state = ProjectState::needsRecovery;
    try {
        m_store.save(m_project);
    } catch (const std::exception&) {
        // The caller reports the error of the start.
    }
    CaptureSession::unmark(m_store.directory(m_id));
}

VideoProject RecordingSession::project() const
{
    const std::lock_guard lock(m_mutex);
    return m_project;
}

bool RecordingSession::isPaused() const
{
    const std::lock_guard lock(m_mutex);
    return m_pauseStart.has_value();
}

double RecordingSession::time() const
{
    return m_engine.time();
}

void RecordingSession::markZoom()
{
    if (isPaused() || m_engine.recordPointer(PointerKind::zoom))
        return;
    const std::lock_guard lock(m_mutex);
    PointerEvent event = m_events.empty() ? PointerEvent{.x = 0.5, .y = 0.5} : m_events.back();
    event.id = Uuid::random();
    event.time = m_engine.time();
    event.kind = PointerKind::zoom;
    m_events.push_back(event);
}

void RecordingSession::togglePause()
{
    const bool pauses = !isPaused();
    // The cut covers the whole pause: the frames after it show the current screen.
    if (!pauses)
        m_engine.setPaused(false);
    {
        const std::lock_guard lock(m_mutex);
        const double now = m_engine.time();
        if (pauses)
            m_pauseStart = now;
        else
            endPause(now);
    }
    if (pauses)
        m_engine.setPaused(true);
}

void RecordingSession::endPause(double now)
{
    if (const auto start = std::exchange(m_pauseStart, std::nullopt))
        m_project.edit.cuts.edit().push_back({.start = *start, .end = now});
}

void RecordingSession::keepCheckpoints(const std::stop_token& stop)
{
    std::mutex mutex;
    std::unique_lock lock(mutex);
    auto due = std::chrono::steady_clock::now() + checkpointInterval;
    while (!m_wake.wait_for(lock, stop, flushInterval, [] { return false; }) && !stop.stop_requested()) {
        if (std::chrono::steady_clock::now() < due) {
            flush();
            continue;
        }
        checkpoint();
        watchDisk();
        due = std::chrono::steady_clock::now() + checkpointInterval;
    }
}

/// Flushes tracks and pointer log as far as they have grown.
void RecordingSession::flush()
{
    const fs::path folder = m_store.directory(m_id);
    std::vector<fs::path> files{folder / PointerLog::fileName};
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& track : m_project.tracks)
            files.push_back(folder / track.file);
    }
    for (const auto& file : files) {
        auto& length = m_flushed[file];
        length = flushed(file, length);
    }
}

/// Saves document and pointer log and flushes the tracks. The next checkpoint makes up for what fails.
void RecordingSession::checkpoint()
{
    const double duration = m_engine.time();
    VideoProject project;
    {
        const std::lock_guard lock(m_mutex);
        m_project.duration = duration;
        m_project.updatedAt = now();
        for (auto& track : m_project.tracks.edit())
            track.duration = duration;
        project = m_project;
        // If the process dies now, the pause is cut.
        if (m_pauseStart && *m_pauseStart < duration)
            project.edit.cuts.edit().push_back({.start = *m_pauseStart, .end = duration});
    }
    writeLog();
    try {
        m_store.save(project);
    } catch (const std::exception&) {
        // The recording continues; the previous document and the files are enough to recover it.
    }
    flush();
    if (m_listener.onCheckpoint)
        m_listener.onCheckpoint(project);
}

/// Appends new events to the log, either all of them or none.
void RecordingSession::writeLog()
{
    std::string lines;
    std::size_t count = 0;
    {
        const std::lock_guard lock(m_mutex);
        count = m_events.size();
        lines = PointerLog::linesOf(std::span(m_events).subspan(m_savedEvents));
    }
    if (!m_log || lines.empty())
        return;
    std::string_view left = lines;
    off_t place = m_logLength;
    while (!left.empty()) {
        const ssize_t written = ::pwrite(m_log.get(), left.data(), left.size(), place);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            [[maybe_unused]] const int ignored = ::ftruncate(m_log.get(), m_logLength);
            return;
        }
        left.remove_prefix(static_cast<std::size_t>(written));
        place += written;
    }
    m_logLength = place;
    const std::lock_guard lock(m_mutex);
    m_savedEvents = count;
}

void RecordingSession::watchDisk()
{
    if (!CaptureSession::hasRoom(m_store.directory(m_id)))
        reportError("Queda muy poco espacio en el disco: la grabación se ha detenido.");
}

void RecordingSession::reportError(const std::string& text)
{
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_errorReported, true))
            return;
    }
    if (m_listener.onError)
        m_listener.onError(text);
}

RecordingSession::Result RecordingSession::stop()
{
    m_stopped = true;
    m_checkpoints.request_stop();
    m_checkpoints.join();
    Result result;
    try {
        m_engine.stop();
    } catch (const std::exception& error) {
        result.error = describe(error);
    }
    m_engine.onEvent = {};
    m_engine.onError = {};
    m_engine.onDevice = {};
    {
        const std::lock_guard lock(m_mutex);
        endPause(m_engine.time());
    }
    checkpoint();
    m_log.reset();

    VideoProject project = this->project();
    project.edit.events = SharedList(m_events);
    project.state = result.error ? ProjectState::recoverable : ProjectState::ready;
    const auto save = [&] {
        try {
            m_store.save(project);
            return true;
        } catch (const std::exception& error) {
            if (!result.error)
                result.error = describe(error);
            return false;
        }
    };
    if (!save() && project.state == ProjectState::ready) {
        project.state = ProjectState::recoverable;
        save();
    }
    // A remaining mark requests recovery of the project.
    if (project.state == ProjectState::ready)
        CaptureSession::unmark(m_store.directory(m_id));
    const std::lock_guard lock(m_mutex);
    m_project = project;
    result.project = std::move(project);
    return result;
}

} // namespace orvo
