#pragma once

#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "OrvoVideo/capture/tracks/FrameEncoder.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>

namespace orvo {

class FrameCoder;

/// A single-track media file that is encoded and written as it grows: H.264 in a QuickTime movie, or AAC at 48 kHz in an
/// MPEG-4 audio file.
///
/// Written in fragments of two seconds, each readable as soon as it is on disk; a finished file is an ordinary one. Not
/// thread-safe.
class TrackFile {
public:
    struct Frames {
        FrameSize size;
        int fps = 30; ///< Maximum frames per second.
        /// nullopt for the best one of this machine. When it fails, software continues the file.
        std::optional<FrameEncoder> encoder = {};
    };

    struct Audio {
        int channels = 1; ///< 1 or 2.
    };

    /// Creates or truncates the file. File system errors pass through unchanged. Throws `captureError` when the system
    /// lacks an encoder.
    TrackFile(const std::filesystem::path& file, const Frames& form);
    TrackFile(const std::filesystem::path& file, const Audio& form);

    /// Removes a file to which nothing was written.
    static void removeEmpty(const std::filesystem::path& file) noexcept;

    /// Without `finish`, leaves the file as it is; it is empty if nothing was written.
    ~TrackFile();
    TrackFile(const TrackFile&) = delete;
    TrackFile& operator=(const TrackFile&) = delete;

    /// Adds a frame, shown from `time` for `length` seconds and later than the previous one, or appends audio.
    ///
    /// Block while the encoder is busy. Throw `captureError` with a text for the user when writing fails; the file keeps
    /// its content.
    void write(const std::shared_ptr<const FrameMemory>& frame, double time, double length);
    void write(std::span<const float> interleaved);

    /// Finishes the file after writing everything. Throws as `write`.
    void finish();

    /// Bits per second of video of a size.
    static std::int64_t bitRate(FrameSize size) { return std::int64_t{size.width} * size.height * 5; }
    static constexpr int audioBitRate = 128'000;
    static constexpr int maxKeyFrameDistance = 60; ///< Frames.
    static constexpr double fragmentLength = 2; ///< Seconds.

private:
    class Pipeline;

    std::unique_ptr<Pipeline> m_pipeline;
    std::unique_ptr<FrameCoder> m_coder; ///< Null for audio. Hands over to the pipeline.
};

} // namespace orvo
