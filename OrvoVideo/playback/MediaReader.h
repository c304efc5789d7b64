#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>

typedef struct _GstSample GstSample; // NOLINT(*-reserved-identifier): its name.

namespace orvo {

/// A decoded picture or stretch of sound; a handle, cheap to copy. Times are seconds of its file.
struct MediaSample {
    std::shared_ptr<GstSample> data;
    double start = 0;
    double end = 0; ///< The start where the file does not tell.

    explicit operator bool() const noexcept { return data != nullptr; }
};

/// Decodes one stream of one media file forwards from any time, some samples ahead of what is asked for.
///
/// Decoding runs on threads of its own; the operations belong to one thread at a time.
class MediaReader {
public:
    /// Which stream of the file, and in which form: pictures as they were coded, turned upright, or sound as 48 kHz stereo
    /// in interleaved 32-bit floats.
    enum class Stream { Video, Sound };

    static constexpr int soundRate = 48000;

    /// Starts to open the first such stream. `rotation` turns its pictures clockwise by that many degrees (0, 90, 180, 270).
    /// Throws `captureError` when the system lacks what is needed.
    MediaReader(std::filesystem::path file, Stream stream, int rotation = 0);
    ~MediaReader();
    MediaReader(const MediaReader&) = delete;
    MediaReader& operator=(const MediaReader&) = delete;

    /// Whether opening has ended, well or badly; `open` then answers at once.
    bool isReady() const;

    /// Whether the file could not be read (any more).
    bool isBroken() const;

    /// Waits until the file can be read. Throws `captureError` with a text for the user when it cannot be decoded, and
    /// `Cancelled`.
    void open(const std::stop_token& stop);

    enum class Seek {
        KeyFrame, ///< To the last picture at or before the time that can be decoded alone.
        Exact, ///< To the time itself.
    };

    /// Goes to a time of an opened file; what was decoded ahead is dropped. Does not wait for the decoder.
    void seek(double seconds, Seek mode);

    /// The next sample, waiting for it; an empty one at the end of the stream, which is also where it cannot be read
    /// further. Throws `Cancelled`.
    MediaSample next(const std::stop_token& stop);

    /// From here on the decoder may leave out pictures that no other is predicted from and that are over at `seconds`.
    /// They are missing from what `next` gives.
    void skipUnneededBefore(double seconds);

private:
    struct Pipeline;

    std::unique_ptr<Pipeline> m_pipeline;
};

} // namespace orvo
