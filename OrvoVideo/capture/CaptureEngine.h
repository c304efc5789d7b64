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

/// Records the screen, what the computer plays, the microphone and the camera, each into a file of its own on one common
/// timeline, and watches the pointer beside them. One recording at a time, many one after the other.
///
/// The first sample of screen or sound that is accepted is time 0 of every track; if none comes within a moment, as of a
/// screen on which nothing moves, time runs from there. While paused everything that comes is dropped; the files go on with
/// silence and a picture that stands, so that times keep counting. Then the screen is as it became meanwhile, though nothing
/// may move on it any more.
class CaptureEngine {
public:
    /// Receives every pointer event. Called on threads of the engine's and the pointer monitor's. Set while stopped.
    std::function<void(const PointerEvent&)> onEvent;

    /// Told when the recording cannot go on (the source has ended, the disk is full), at most once for each recording, on a
    /// thread that must not be held: `stop` must not be called on it. Set while stopped.
    std::function<void(std::exception_ptr)> onError;

    /// Told when microphone or camera have given nothing for three seconds, and when they give something again; the
    /// recording goes on in both cases. Called on a thread of the engine's. Set while stopped.
    std::function<void(TrackKind, bool isAway)> onDevice;

    /// Without a pointer monitor no presses are logged, and positions only for streams that tell them.
    explicit CaptureEngine(std::unique_ptr<PointerMonitor> pointer = nullptr);
    ~CaptureEngine(); ///< Stops without a word.
    CaptureEngine(const CaptureEngine&) = delete;
    CaptureEngine& operator=(const CaptureEngine&) = delete;

    /// Begins to record into the folder `directory`, which exists. Blocks until everything runs; returns the tracks.
    ///
    /// Throws `captureError` with a text for the user when a device is missing or refused, and what `ScreenStream`,
    /// `AudioStream`, `SteadyCamera` and `SampleWriter` throw; nothing runs then.
    std::vector<MediaTrack> start(
        const CaptureSource& source, const std::filesystem::path& directory, const CaptureOptions& options);

    /// The tracks of a recording with these options, each with a new identifier.
    static std::vector<MediaTrack> tracks(const CaptureOptions& options);

    /// Any thread.
    void setPaused(bool paused);

    /// Ends the recording and closes every file. Blocks. Throws the last failure of a writer, after all of them have closed.
    void stop();

    /// Reports to `onEvent` where the pointer is in the frame, if it is in the recorded area. Any thread.
    void recordPointer(PointerKind kind);

    /// How long the recording has lasted, in seconds; 0 before the first sample. That of a recording that was stopped is its
    /// length. Any thread.
    double time() const;

    /// The loudest of the microphone since the last call, 0..1. Any thread.
    float takeMicrophonePeak();

    /// How many samples were dropped because the machine was too slow. Any thread.
    std::uint64_t dropped() const;

    /// How often a second the pointer is looked at.
    static constexpr int pointerRate = 12;

private:
    void accept(TrackKind kind, CaptureSample sample);
    void beginAnyway();
    void fail(std::exception_ptr error);
    void openStreams(const CaptureSource& source, PictureSize size, const CaptureOptions& options);
    void makeWriter(TrackKind kind, SampleWriter::Settings settings);
    void endStreams();
    void watch(const std::stop_token& stop);
    void watchDevices();
    std::optional<CaptureTime> origin() const;
    bool isIgnoring() const;

    std::unique_ptr<PointerMonitor> m_pointer;
    std::filesystem::path m_directory;

    mutable std::mutex m_streamMutex; ///< Guards the streams, which come and go while others ask them.
    std::unique_ptr<ScreenStream> m_screen;
    std::unique_ptr<AudioStream> m_systemAudio;
    std::unique_ptr<AudioStream> m_microphone;
    std::unique_ptr<SteadyCamera> m_camera;

    std::map<TrackKind, std::unique_ptr<SampleWriter>> m_writers; ///< Changes only while stopped.

    mutable std::mutex m_stateMutex; ///< Guards the following; never held together with another of these.
    bool m_stopped = true;
    bool m_paused = false;
    bool m_failed = false;
    std::optional<CapturedPicture> m_missed; ///< The newest of the screen that came during the pause.
    CaptureTime m_resumed; ///< The end of the last pause.
    struct Device {
        CaptureTime newest; ///< When its last sample came.
        bool isAway = false;
    };
    std::map<TrackKind, Device> m_devices; ///< Those that always give something.

    mutable std::mutex m_originMutex; ///< Guards the time origin.
    std::optional<CaptureTime> m_origin;
    std::optional<CaptureTime> m_end;

    std::jthread m_watch; ///< The pointer, and tracks that get nothing.
};

} // namespace orvo
