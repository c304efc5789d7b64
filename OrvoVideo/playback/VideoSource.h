#pragma once

#include "OrvoVideo/playback/MediaReader.h"

#include <deque>
#include <functional>
#include <optional>

namespace orvo {

/// The pictures of one video file by time: finds the shortest way to each, decoding on where that is nearer than starting
/// again at a key frame, and keeps the last ones for steps backwards.
///
/// Belongs to one thread. Times are seconds of the file.
class VideoSource {
public:
    /// Starts to open the file. Throws as `MediaReader`.
    VideoSource(const std::filesystem::path& file, int rotation);

    /// Waits until the file can be read. Throws as `MediaReader::open`.
    void open(const std::stop_token& stop) { m_reader.open(stop); }

    /// Asked between two pictures: whether to give up the way to a picture.
    using GiveUp = std::function<bool()>;

    struct Picture {
        MediaSample sample; ///< Empty when the file has none.
        bool isExact = true; ///< False for a picture on the way, after giving up.
    };

    enum class Want {
        Exact,
        /// In a hurry: pictures that no other is predicted from are left out, so it may be one before.
        Hurried,
        /// As `Exact`, but what was left out in a hurry just before is not fetched again.
        Following,
    };

    /// The picture shown at `seconds`: the last that starts at or before it, or the first of all. Past the end, the last.
    /// Throws `captureError` when the file cannot be decoded, and `Cancelled`.
    Picture pictureAt(double seconds, Want want, const std::stop_token& stop, const GiveUp& giveUp = {});

    /// Starts on the way to the picture at `seconds` as soon as the file is open, without waiting; calling it again goes
    /// on. `pictureAt` then finds it sooner.
    void prepare(double seconds);
    /// The time that was prepared, once the way to it has begun.
    std::optional<double> prepared() const { return m_prepared; }

    /// Whether the file could not be read (any more).
    bool isBroken() const { return m_reader.isBroken(); }

private:
    void seek(double seconds, MediaReader::Seek mode);
    MediaSample advance(const std::stop_token& stop);
    void remember(const MediaSample& sample);
    const MediaSample* remembered(double seconds) const;
    /// Whether the picture surely lasts as long as it says. Where the rate varies, only the next one tells.
    bool tellsItsEnd(const MediaSample& sample) const;

    MediaReader m_reader;
    std::deque<MediaSample> m_recent; ///< In the order of time, the last decoded at the back.
    MediaSample m_pushedBack; ///< Read, but later than what was looked for.
    MediaSample m_last; ///< The last that was read since the last seek.
    MediaSample m_final; ///< The last of the file, once it has been met.
    std::optional<double> m_position; ///< Up to where has been read; nothing before the first seek and after the end.
    double m_shortest = 1e9; ///< Seconds that the shortest picture says it lasts.
    std::optional<double> m_wanted; ///< A preparation that has not begun.
    std::optional<double> m_prepared;
    bool m_isCutShort = false; ///< The next picture begins at the prepared time, not at its own.
    bool m_hasHoles = false; ///< Pictures were left out in a hurry since the last seek.
};

} // namespace orvo
