#pragma once

#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "OrvoVideo/capture/tracks/FrameEncoder.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace orvo {

/// A sample of a track.
using CaptureSample = std::variant<CapturedFrame, AudioBlock>;

/// Writes the samples of one track into a file as they arrive: H.264 in a QuickTime movie or AAC in an MPEG-4 audio file,
/// in fragments of two seconds. If the process dies, at most the last fragment is lost.
///
/// Time 0 of the file is the origin of the recording, and every sample keeps its time. Where a track has no samples, as
/// before the first one, during a pause or while a device is away, audio is silent and the last frame stays. The first
/// frame also covers the time before it; without any frame the file is black. Audio from a device whose clock drifts is
/// stretched inaudibly.
///
/// Only `drain` and `finish` block. All other work is done in order on the writer's thread. When it falls behind, samples
/// are dropped.
class SampleWriter {
public:
    struct Settings {
        std::optional<FrameSize> size; ///< Frame size of a video track; nullopt for an audio track.
        int fps = 30; ///< Maximum frames per second.
        /// Encoder of a video track; nullopt for the best one of this machine.
        std::optional<FrameEncoder> encoder = {};
        /// Maximum time in seconds from a frame's capture to `append`. The file is extended with the last frame up to this
        /// long ago; a frame that arrives even later is shown after that.
        double delay = 0.1;
        int channels = 1; ///< Channels of an audio track without samples.
        /// Called once on the writer's thread with the first error; nothing is written after it.
        std::function<void(std::exception_ptr)> onFailure = {};
    };

    /// Creates the file. File system errors pass through unchanged. Throws `captureError` when the system has no encoder.
    SampleWriter(std::filesystem::path url, Settings settings);

    /// Without `finish`, leaves the file unfinished with everything written so far.
    ~SampleWriter();
    SampleWriter(const SampleWriter&) = delete;
    SampleWriter& operator=(const SampleWriter&) = delete;

    const std::filesystem::path& url() const noexcept;

    /// Adds a sample of the track's kind. `origin` must be the same in all calls. Thread-safe.
    void append(CaptureSample sample, CaptureTime origin);

    /// Reports the time while samples may be missing; the file follows with some delay. Thread-safe.
    void advance(CaptureTime now, CaptureTime origin);

    /// Blocks until the encoder has everything added so far. Thread-safe.
    void drain();

    /// Closes the file after writing all added samples. If `end` is given, a track with samples lasts until then. Blocks;
    /// call once. Throws the first error.
    void finish(std::optional<CaptureTime> end = std::nullopt);

    /// Number of samples dropped because the writer was behind.
    std::uint64_t dropped() const noexcept;

private:
    class Work;

    std::unique_ptr<Work> m_work;
};

} // namespace orvo
