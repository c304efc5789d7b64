#pragma once

#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/capture/screen/CapturedPicture.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace orvo {

/// A media file with one track that is encoded and written while it grows: H.264 in a QuickTime movie, or AAC at 48 kHz in
/// an MPEG-4 audio file.
///
/// It is written in fragments of two seconds, each of which can be read once it is there; a finished file is an ordinary
/// one. One thread at a time.
class TrackFile {
public:
    struct Pictures {
        PictureSize size;
        int fps = 30; ///< Pictures a second at most.
    };

    struct Sound {
        int channels = 1; ///< 1 or 2.
    };

    /// Makes the file, or empties the one that is there. Throws file system errors unchanged, and `captureError` when the
    /// system lacks an encoder.
    TrackFile(const std::filesystem::path& file, const Pictures& form);
    TrackFile(const std::filesystem::path& file, const Sound& form);

    /// Removes a file into which nothing was written.
    static void removeEmpty(const std::filesystem::path& file) noexcept;

    /// Leaves the file as it is, empty before anything was written, when `finish` was not called.
    ~TrackFile();
    TrackFile(const TrackFile&) = delete;
    TrackFile& operator=(const TrackFile&) = delete;

    /// Adds a picture that is shown from `time` seconds after the beginning of the file for `length` seconds, later than the
    /// one before, or sound behind that which is there.
    ///
    /// Wait while the encoder is busy. Throw `captureError` with a text for the user when the file cannot be written any
    /// more; what is in it stays.
    void write(const std::shared_ptr<const PictureMemory>& picture, double time, double length);
    void write(std::span<const float> interleaved);

    /// Ends the file when everything is written. Throws as `write`.
    void finish();

    /// Bits a second of pictures of a size.
    static std::int64_t bitRate(PictureSize size) { return std::int64_t{size.width} * size.height * 5; }
    static constexpr int soundBitRate = 128'000;
    static constexpr int longestKeyFrameDistance = 60; ///< Pictures.
    static constexpr double fragmentLength = 2; ///< Seconds.

private:
    class Pipeline;

    std::unique_ptr<Pipeline> m_pipeline;
};

} // namespace orvo
