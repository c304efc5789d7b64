#pragma once

#include "OrvoVideo/capture/CaptureOptions.h"
#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/capture/camera/SteadyCamera.h"
#include "OrvoVideo/capture/pointer/PointerMonitor.h"
#include "OrvoVideo/capture/screen/ScreenStream.h"
#include "OrvoVideo/capture/tracks/SampleWriter.h"
#include "VideoCore/VideoProject.h"

#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace orvo {

/// Records screen, system audio, microphone and camera into a file each, on a common timeline, and reports pointer
/// events. Makes one recording at a time, any number in a row.
///
///               start                setPaused(true)
///     Stopped ─────────► Recording ──────────────────► Paused
///        ▲                   │     ◄─────────────────    │
///        │       stop        │       setPaused(false)    │
///        └───────────────────┴───────────────────────────┘
///
/// `start` stops first. If it fails, the engine is Stopped. An error changes no state: after `onError`, call `stop`.
///
/// Time 0 of every track is the first accepted screen frame or system or microphone sample. If none arrives within 300
/// ms, as on a still screen, the time starts anyway. During a pause all samples are dropped; the files continue with
/// silence and a still frame, so that time keeps counting. After the pause the track shows the current screen, even if it
/// no longer changes.
class CaptureEngine {
public:
    /// Receives every pointer event, on threads of the engine and the pointer monitor. Set while stopped.
    std::function<void(const PointerEvent&)> onEvent;

    /// Called when the recording cannot continue (the source ended, the disk is full), at most once per recording. Runs
    /// on a worker thread that must not block; must not call `stop`. Set while stopped.
    std::function<void(std::exception_ptr)> onError;

    /// Called when the microphone or the camera has delivered nothing for `maxDeviceSilence`, and when it delivers again;
    /// the recording continues in both cases. Runs on a thread of the engine. Set while stopped.
    std::function<void(TrackKind, bool isAway)> onDevice;

    /// Without a pointer monitor, no clicks are reported, and positions only by streams that have them.
    explicit CaptureEngine(std::unique_ptr<PointerMonitor> pointer = nullptr);
    ~CaptureEngine(); ///< Stops, ignoring errors.
    CaptureEngine(const CaptureEngine&) = delete;
    CaptureEngine& operator=(const CaptureEngine&) = delete;

    /// Starts recording into the existing folder `directory`. Blocks until everything runs; returns the tracks.
    ///
    /// Throws `captureError` with a text for the user when a device is missing or denied, and what `ScreenStream`,
    /// `AudioStream`, `SteadyCamera` and `SampleWriter` throw. Nothing runs after an exception.
    std::vector<MediaTrack> start(
        const CaptureSource& source, const std::filesystem::path& directory, const CaptureOptions& options);

    /// The tracks of a recording with these options, with new identifiers.
    static std::vector<MediaTrack> tracks(const CaptureOptions& options);

    /// Thread-safe.
    void setPaused(bool paused);

    /// Ends the recording and closes all files. Blocks. Throws the last error of a writer, after all of them have closed.
    void stop();

    /// Reports the pointer's position in the frame to `onEvent`, if it is in the recorded area; returns whether it was.
    /// Thread-safe.
    bool recordPointer(PointerKind kind);

    /// Elapsed recording time in seconds; 0 before the first sample. After `stop`, the length of the recording.
    /// Thread-safe.
    double time() const;

    /// Peak level of the microphone since the last call, 0..1. Thread-safe.
    float takeMicrophonePeak();

    /// Number of samples dropped because the machine was too slow. Thread-safe.
    std::uint64_t dropped() const;

    /// Pointer positions per second.
    static constexpr int pointerRate = 12;

private:
    void accept(TrackKind kind, CaptureSample sample);
    void beginAnyway();
    void fail(std::exception_ptr error);
    void openStreams(const CaptureSource& source, const ScreenStream::Settings& settings, const CaptureOptions& options);
    void makeWriter(TrackKind kind, SampleWriter::Settings settings);
    void endStreams();
    void watch(const std::stop_token& stop);
    void watchDevices();
    std::optional<CaptureTime> origin() const;
    bool isIgnoring() const;

    std::unique_ptr<PointerMonitor> m_pointer;
    std::filesystem::path m_directory;

    mutable std::mutex m_streamMutex; ///< Guards the streams, which open and close while other threads query them.
    std::unique_ptr<ScreenStream> m_screen;
    std::unique_ptr<AudioStream> m_systemAudio;
    std::unique_ptr<AudioStream> m_microphone;
    std::unique_ptr<SteadyCamera> m_camera;

    std::map<TrackKind, std::unique_ptr<SampleWriter>> m_writers; ///< Changed only while stopped.

    mutable std::mutex m_stateMutex; ///< Guards the members below; never held together with another mutex.
    bool m_stopped = true;
    bool m_paused = false;
    bool m_failed = false;
    std::optional<CapturedFrame> m_missed; ///< The latest screen frame of the current pause.
    CaptureTime m_resumed; ///< The end of the last pause.
    struct Device {
        CaptureTime newest; ///< Time of the last sample.
        bool isAway = false;
    };
    std::map<TrackKind, Device> m_devices; ///< Devices that deliver continuously.

    mutable std::mutex m_originMutex; ///< Guards the time origin.
    std::optional<CaptureTime> m_origin;
    std::optional<CaptureTime> m_end;

    std::jthread m_watch; ///< Reports pointer positions, and the time to the writers.
};

} // namespace orvo
