#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>

typedef struct _GstSample GstSample; // NOLINT(*-reserved-identifier): GStreamer's name.

namespace orvo {

/// A decoded frame or block of audio; a cheap handle. Times are seconds in its file.
struct MediaSample {
    std::shared_ptr<GstSample> data;
    double start = 0;
    double end = 0; ///< Equals `start` when the file does not report it.

    explicit operator bool() const noexcept { return data != nullptr; }
};

/// Decodes one stream of a media file forwards from any time, some samples ahead.
///
/// Decodes on its own threads; call the operations from one thread at a time.
class MediaReader {
public:
    /// The stream and its output: frames in their coded format, rotated upright, or audio as 48 kHz stereo in interleaved
    /// 32-bit floats.
    enum class Stream { Video, Audio };

    static constexpr int audioRate = 48000;

    /// Starts opening the first such stream. `rotation` rotates frames clockwise by 0, 90, 180 or 270 degrees. Throws
    /// `captureError` when the system lacks an element.
    MediaReader(std::filesystem::path file, Stream stream, int rotation = 0);
    ~MediaReader();
    MediaReader(const MediaReader&) = delete;
    MediaReader& operator=(const MediaReader&) = delete;

    /// Whether opening has finished or failed; `open` then returns at once.
    bool isReady() const;

    /// Whether reading failed, when opening or later.
    bool isBroken() const;

    /// Waits until the file is readable. Throws `captureError` with a text for the user when it cannot be decoded, and
    /// `Cancelled`.
    void open(const std::stop_token& stop);

    enum class Seek {
        KeyFrame, ///< To the last key frame at or before the time.
        Exact, ///< To exactly the time.
    };

    /// Seeks in an opened file and drops what was decoded ahead. Does not wait for the decoder.
    void seek(double seconds, Seek mode);

    /// Waits for the next sample. Returns an empty one at the end of the stream, or where reading fails. Throws
    /// `Cancelled`.
    MediaSample next(const std::stop_token& stop);

    /// From now on the decoder may skip frames that no other depends on and that end before `seconds`; `next` does not
    /// return them.
    void skipUnneededBefore(double seconds);

private:
    struct Pipeline;

    std::unique_ptr<Pipeline> m_pipeline;
};

} // namespace orvo
