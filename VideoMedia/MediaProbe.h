#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

namespace orvo {

/// Properties of a media file, read without decoding it.
struct MediaFacts {
    struct Video {
        std::int64_t width = 0; ///< Pixels, as stored.
        std::int64_t height = 0; ///< Pixels, as stored.
        int rotation = 0; ///< Clockwise degrees by which players turn the stored frames: 0, 90, 180 or 270.
        double frameRate = 0; ///< Average frames per second; 0 when not known.
        std::string codec; ///< As `ffmpeg` names it, "h264" for example; empty when not known.
        std::string pixelFormat; ///< As `ffmpeg` names it, "yuv420p" for example; empty when not known.
        std::string colorRange; ///< "tv" (16 to 235) or "pc" (0 to 255); empty when not declared.

        /// The frame size as players show it, after rotation.
        std::int64_t uprightWidth() const noexcept { return rotation % 180 == 0 ? width : height; }
        std::int64_t uprightHeight() const noexcept { return rotation % 180 == 0 ? height : width; }
    };

    struct Audio {
        std::string codec; ///< As `ffmpeg` names it, "aac" for example; empty when not known.
        int channels = 0;
        std::int64_t bitRate = 0; ///< Bits per second, on average; 0 when not known.
    };

    std::optional<double> duration; ///< Seconds; nullopt when not known.
    std::optional<Video> video; ///< The first video stream that is not a cover image.
    std::optional<Audio> audio; ///< The first audio stream.
    int audioStreams = 0;
};

/// Reads properties of media files. Usable from any thread.
class MediaProbe {
public:
    MediaProbe() = default;
    MediaProbe(const MediaProbe&) = delete;
    MediaProbe& operator=(const MediaProbe&) = delete;
    virtual ~MediaProbe() = default;

    /// Blocks. Throws `captureError` with a text for the user if the file is not readable media, and `Cancelled` if
    /// `stop` was requested.
    virtual MediaFacts facts(const std::filesystem::path& file, const std::stop_token& stop = {}) const = 0;
};

} // namespace orvo
