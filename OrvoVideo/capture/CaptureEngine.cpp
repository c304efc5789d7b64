#include "OrvoVideo/capture/CaptureEngine.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <string_view>
#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;

constexpr auto pointerInterval = std::chrono::duration_cast<CaptureClock::duration>(1s) / CaptureEngine::pointerRate;

/// Maximum wait for the first sample of a recording. Some desktops deliver no frame until something is drawn.
constexpr auto maxStartDelay = 300ms;

struct TrackName {
    TrackKind kind;
    std::string_view file;
};

constexpr std::array<TrackName, 4> trackNames{{
    {TrackKind::screen, "screen.mov"},
    {TrackKind::system, "system.m4a"},
    {TrackKind::microphone, "microphone.m4a"},
    {TrackKind::camera, "camera.mov"},
}};

bool isRecorded(TrackKind kind, const CaptureOptions& options)
{
    switch (kind) {
    case TrackKind::screen:
        return true;
    case TrackKind::system:
        return options.systemAudio;
    case TrackKind::microphone:
        return options.microphone;
    case TrackKind::camera:
        return options.camera;
    case TrackKind::clip:
        break;
    }
    return false;
}

std::string_view fileName(TrackKind kind)
{
    return std::ranges::find(trackNames, kind, &TrackName::kind)->file;
}

} // namespace

CaptureEngine::CaptureEngine(std::unique_ptr<PointerMonitor> pointer)
    : m_pointer(std::move(pointer))
{
}

CaptureEngine::~CaptureEngine()
{
    try {
        stop();
    } catch (const std::exception&) {
        // The files keep what was written.
    }
}

std::vector<MediaTrack> CaptureEngine::start(
    const CaptureSource& source, const std::filesystem::path& directory, const CaptureOptions& options)
{
    stop();
    const Rect area = options.region.value_or(source.rect);
    const FrameSize size = captureSize(area, source.scale, options.height);
    m_directory = directory;
    {
        const std::lock_guard lock(m_originMutex);
        m_origin.reset();
        m_end.reset();
    }
    try {
        const auto encoder = FrameEncoder::find(size, static_cast<int>(options.fps));
        makeWriter(TrackKind::screen, {.size = size, .fps = static_cast<int>(options.fps), .encoder = encoder});
        if (isRecorded(TrackKind::system, options))
            makeWriter(TrackKind::system, {.channels = 2});
        if (isRecorded(TrackKind::microphone, options))
            makeWriter(TrackKind::microphone, {.channels = 1});
        if (isRecorded(TrackKind::camera, options))
            makeWriter(TrackKind::camera, {.size = CameraStream::size, .delay = CameraStream::maxDelay});
        openStreams(source,
            {.size = size,
                .fps = static_cast<int>(options.fps),
                .region = options.region,
                .graphics = encoder.graphics.formats},
            options);
    } catch (const std::exception&) {
        const auto error = std::current_exception();
        {
            const std::lock_guard lock(m_stateMutex);
            m_stopped = true;
        }
        endStreams();
        m_writers.clear();
        std::rethrow_exception(error);
    }

    if (m_pointer)
        m_pointer->onPress([this] { recordPointer(PointerKind::click); });
    m_watch = std::jthread([this](const std::stop_token& stop) { watch(stop); });

    return tracks(options);
}

std::vector<MediaTrack> CaptureEngine::tracks(const CaptureOptions& options)
{
    std::vector<MediaTrack> tracks;
    for (const auto& track : trackNames) {
        if (isRecorded(track.kind, options))
            tracks.push_back({.kind = track.kind, .file = "media/" + std::string(track.file)});
    }
    return tracks;
}

void CaptureEngine::makeWriter(TrackKind kind, SampleWriter::Settings settings)
{
    settings.onFailure = [this](std::exception_ptr error) { fail(std::move(error)); };
    m_writers[kind] = std::make_unique<SampleWriter>(m_directory / fileName(kind), std::move(settings));
}

/// Opens all streams, which may fail, before the screen starts.
void CaptureEngine::openStreams(
    const CaptureSource& source, const ScreenStream::Settings& settings, const CaptureOptions& options)
{
    const auto to = [this](TrackKind kind) { return [this, kind](auto sample) { accept(kind, std::move(sample)); }; };
    const auto ended = [this](std::exception_ptr error) { fail(std::move(error)); };

    std::unique_ptr<AudioStream> microphone;
    std::unique_ptr<AudioStream> systemAudio;
    std::unique_ptr<SteadyCamera> camera;
    if (options.microphone)
        microphone = AudioStream::open(AudioStream::Input::microphone, options.microphoneDevice, to(TrackKind::microphone));
    auto screen = ScreenStream::open(source, settings);
    if (options.camera)
        camera = std::make_unique<SteadyCamera>(options.cameraDevice, to(TrackKind::camera));
    if (options.systemAudio)
        systemAudio = AudioStream::open(AudioStream::Input::systemAudio, options.systemAudioDevice, to(TrackKind::system));
    // Until now, samples of the other streams were dropped: the recording starts with the screen.
    {
        const std::lock_guard lock(m_stateMutex);
        m_stopped = m_paused = m_failed = false;
        m_missed.reset();
        m_resumed = {};
        m_devices.clear();
        for (const auto kind : {TrackKind::microphone, TrackKind::camera}) {
            if (isRecorded(kind, options))
                m_devices[kind].newest = CaptureClock::now();
        }
    }
    screen->start({.frame = to(TrackKind::screen), .ended = ended});

    const std::lock_guard lock(m_streamMutex);
    m_screen = std::move(screen);
    m_microphone = std::move(microphone);
    m_systemAudio = std::move(systemAudio);
    m_camera = std::move(camera);
}

bool CaptureEngine::isIgnoring() const
{
    const std::lock_guard lock(m_stateMutex);
    return m_stopped || m_paused;
}

std::optional<CaptureTime> CaptureEngine::origin() const
{
    const std::lock_guard lock(m_originMutex);
    return m_origin;
}

void CaptureEngine::accept(TrackKind kind, CaptureSample sample)
{
    {
        const std::lock_guard lock(m_stateMutex);
        if (m_stopped)
            return;
        if (const auto device = m_devices.find(kind); device != m_devices.end())
            device->second.newest = CaptureClock::now();
        auto* frame = kind == TrackKind::screen ? std::get_if<CapturedFrame>(&sample) : nullptr;
        if (m_paused) {
            if (frame)
                m_missed = std::move(*frame);
            return;
        }
        // A frame captured during the pause and delivered after it shows the current screen.
        if (frame)
            frame->time = std::max(frame->time, m_resumed);
    }
    std::optional<CaptureTime> origin;
    {
        const std::lock_guard lock(m_originMutex);
        // Camera frames arrive late, so they never set the origin.
        if (!m_origin && kind != TrackKind::camera)
            m_origin = std::visit([](const auto& any) { return any.time; }, sample);
        origin = m_origin;
    }
    if (origin)
        m_writers.at(kind)->append(std::move(sample), *origin);
}

/// Starts the time without a first sample.
void CaptureEngine::beginAnyway()
{
    const std::lock_guard lock(m_originMutex);
    if (!m_origin)
        m_origin = CaptureClock::now();
}

void CaptureEngine::fail(std::exception_ptr error)
{
    {
        const std::lock_guard lock(m_stateMutex);
        if (m_stopped || std::exchange(m_failed, true))
            return;
    }
    if (onError)
        onError(std::move(error));
}

/// Reports the pointer at `pointerRate`, and the time to the writers, whose samples may be missing.
void CaptureEngine::watch(const std::stop_token& stop)
{
    std::mutex mutex;
    std::condition_variable_any wake;
    std::unique_lock lock(mutex);
    CaptureTime next = CaptureClock::now();
    const CaptureTime latestBegin = next + maxStartDelay;
    while (!stop.stop_requested()) {
        if (CaptureClock::now() >= latestBegin)
            beginAnyway();
        recordPointer(PointerKind::move);
        watchDevices();
        if (const auto begin = origin()) {
            for (const auto& [kind, writer] : m_writers)
                writer->advance(CaptureClock::now(), *begin);
        }
        // Does not catch up after the process was suspended.
        next = std::max(next + pointerInterval, CaptureClock::now());
        wake.wait_until(lock, stop, next, [] { return false; });
    }
}

void CaptureEngine::watchDevices()
{
    std::vector<std::pair<TrackKind, bool>> changes;
    {
        const std::lock_guard lock(m_stateMutex);
        for (auto& [kind, device] : m_devices) {
            const bool isAway = CaptureClock::now() - device.newest > maxDeviceSilence;
            if (std::exchange(device.isAway, isAway) != isAway)
                changes.emplace_back(kind, isAway);
        }
    }
    for (const auto& [kind, isAway] : changes) {
        if (onDevice)
            onDevice(kind, isAway);
    }
}

bool CaptureEngine::recordPointer(PointerKind kind)
{
    if (isIgnoring() || !onEvent)
        return false;
    ScreenStream::View view;
    {
        const std::lock_guard lock(m_streamMutex);
        if (!m_screen)
            return false;
        view = m_screen->view();
    }
    const auto& [area, shown, reported] = view;
    std::optional<Point> place = reported;
    if (!place && m_pointer)
        place = m_pointer->position();
    if (!place || !area.contains(*place))
        return false;
    onEvent({.time = time(),
        .x = shown.x + shown.width * (place->x - area.x) / area.width,
        .y = shown.y + shown.height * (place->y - area.y) / area.height,
        .kind = kind});
    return true;
}

void CaptureEngine::setPaused(bool paused)
{
    const auto begin = origin();
    const std::lock_guard lock(m_stateMutex);
    m_paused = paused;
    if (m_stopped || paused)
        return;
    m_resumed = CaptureClock::now();
    // Under the lock, so that no newer frame gets ahead of it.
    if (auto frame = std::exchange(m_missed, std::nullopt); frame && begin)
        m_writers.at(TrackKind::screen)->append(CapturedFrame{.memory = frame->memory, .time = m_resumed}, *begin);
}

double CaptureEngine::time() const
{
    const std::lock_guard lock(m_originMutex);
    return m_origin ? std::max(secondsBetween(*m_origin, m_end.value_or(CaptureClock::now())), 0.0) : 0;
}

float CaptureEngine::takeMicrophonePeak()
{
    const std::lock_guard lock(m_streamMutex);
    return m_microphone ? m_microphone->takePeak() : 0;
}

std::uint64_t CaptureEngine::dropped() const
{
    std::uint64_t sum = 0;
    for (const auto& [kind, writer] : m_writers)
        sum += writer->dropped();
    return sum;
}

/// Closes all streams. Their destructors wait for callbacks, so they run without the lock.
void CaptureEngine::endStreams()
{
    std::unique_ptr<ScreenStream> screen;
    std::unique_ptr<AudioStream> microphone;
    std::unique_ptr<AudioStream> systemAudio;
    std::unique_ptr<SteadyCamera> camera;
    // Declared after the streams, so that it is released before they are destroyed.
    const std::lock_guard lock(m_streamMutex);
    screen = std::exchange(m_screen, nullptr);
    microphone = std::exchange(m_microphone, nullptr);
    systemAudio = std::exchange(m_systemAudio, nullptr);
    camera = std::exchange(m_camera, nullptr);
}

void CaptureEngine::stop()
{
    const CaptureTime end = CaptureClock::now();
    {
        const std::lock_guard lock(m_stateMutex);
        if (std::exchange(m_stopped, true))
            return;
    }
    {
        const std::lock_guard lock(m_originMutex);
        m_end = end;
    }
    if (m_pointer)
        m_pointer->onPress({});
    if (m_watch.joinable()) {
        m_watch.request_stop();
        m_watch.join();
    }
    endStreams();

    std::exception_ptr failure;
    for (const auto& [kind, writer] : m_writers) {
        try {
            writer->finish(end);
        } catch (const std::exception&) {
            failure = std::current_exception();
        }
    }
    m_writers.clear();
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace orvo
