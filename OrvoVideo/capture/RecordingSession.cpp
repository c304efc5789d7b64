#include "OrvoVideo/capture/RecordingSession.h"

#include "VideoCore/Error.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <exception>
#include <format>
#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;

/// Interval between flushes. A fragment of a track holds two seconds and reaches the disk at most this much later.
constexpr auto flushInterval = 250ms;

/// Whether this microphone (for an empty identifier, any) is plugged in. True if unknown: opening it reports the reason.
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

/// The options, without the microphone if it is missing.
CaptureOptions available(CaptureOptions options)
{
    options.microphone = options.microphone && isMicrophoneThere(options.microphoneDevice);
    return options;
}

/// The project before the capture. Throws `captureError` when the disk of the library is nearly full.
VideoProject newProject(const ProjectStore& store, const RecordingSession::Plan& plan, const CaptureOptions& options)
{
    if (!RecordedProject::hasRoom(store))
        throw captureError("No hay espacio suficiente en el disco para grabar.");
    auto project = VideoProject::make(plan.title);
    const auto size = captureSize(options.region.value_or(plan.source.rect), plan.source.scale, options.height);
    project.width = size.width;
    project.height = size.height;
    project.fps = options.fps;
    project.tracks = SharedList(CaptureEngine::tracks(options));
    return project;
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

RecordingSession::RecordingSession(const ProjectStore& store, CaptureEngine& engine, const Plan& plan, Listener listener)
    : RecordingSession(store, engine, plan, available(plan.options), std::move(listener))
{
}

RecordingSession::RecordingSession(
    const ProjectStore& store, CaptureEngine& engine, const Plan& plan, const CaptureOptions& options, Listener listener)
    : m_engine(engine)
    , m_listener(std::move(listener))
    , m_project(store, RecordedProject::Kind::capture, newProject(store, plan, options))
{
    try {
        m_engine.onEvent = [this](const PointerEvent& event) {
            const std::lock_guard lock(m_mutex);
            m_lastEvent = event;
            m_project.add({event});
        };
        m_engine.onError = [this](const std::exception_ptr& error) {
            try {
                std::rethrow_exception(error);
            } catch (const std::exception& reason) {
                reportError(describe(reason));
            }
        };
        m_engine.onDevice = m_listener.onDevice;
        auto tracks = m_engine.start(plan.source, m_project.folder() / ProjectStore::mediaName, options);
        m_project.change([&](VideoProject& project) { project.tracks = SharedList(std::move(tracks)); });
    } catch (const std::exception&) {
        const auto error = std::current_exception();
        silenceEngine();
        m_project.failStart();
        std::rethrow_exception(error);
    }
    if (plan.options.microphone && !options.microphone && m_listener.onDevice)
        m_listener.onDevice(TrackKind::microphone, true);
    checkpoint();
    m_checkpoints = std::jthread([this](const std::stop_token& stop) { keepCheckpoints(stop); });
}

RecordingSession::~RecordingSession()
{
    if (!m_stopped)
        stop();
}

void RecordingSession::silenceEngine()
{
    m_engine.onEvent = {};
    m_engine.onError = {};
    m_engine.onDevice = {};
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
    m_lastEvent.id = Uuid::random();
    m_lastEvent.time = m_engine.time();
    m_lastEvent.kind = PointerKind::zoom;
    m_project.add({m_lastEvent});
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
        m_project.change([&](VideoProject& project) { project.edit.cuts.edit().push_back({.start = *start, .end = now}); });
}

void RecordingSession::keepCheckpoints(const std::stop_token& stop)
{
    std::mutex mutex;
    std::unique_lock lock(mutex);
    while (!m_wake.wait_for(lock, stop, flushInterval, [] { return false; }) && !stop.stop_requested()) {
        if (std::chrono::steady_clock::now() < m_project.nextCheckpoint()) {
            m_project.flush();
            continue;
        }
        checkpoint();
        if (!m_project.hasRoom())
            reportError("Queda muy poco espacio en el disco: la grabación se ha detenido.");
    }
}

/// Saves the project; the next checkpoint makes up for a failure.
void RecordingSession::checkpoint()
{
    const double duration = m_engine.time();
    VideoProject document;
    {
        const std::lock_guard lock(m_mutex);
        document = m_project.change([duration](VideoProject& project) {
            project.duration = duration;
            for (auto& track : project.tracks.edit())
                track.duration = duration;
        });
        // Cuts the current pause, in case the process dies now.
        if (m_pauseStart && *m_pauseStart < duration)
            document.edit.cuts.edit().push_back({.start = *m_pauseStart, .end = duration});
    }
    try {
        m_project.checkpoint(document);
    } catch (const std::exception&) {
        // The recording continues; the previous document and the files are enough to recover it.
    }
    if (m_listener.onCheckpoint)
        m_listener.onCheckpoint(document);
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
    silenceEngine();
    {
        const std::lock_guard lock(m_mutex);
        endPause(m_engine.time());
    }
    checkpoint();
    if (!result.error) {
        try {
            m_project.complete();
        } catch (const std::exception& error) {
            result.error = describe(error);
        }
    }
    if (result.error)
        m_project.interrupt();
    result.project = project();
    return result;
}

} // namespace orvo
