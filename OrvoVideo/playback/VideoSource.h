#pragma once

#include "OrvoVideo/playback/MediaReader.h"

#include <deque>
#include <functional>
#include <optional>

namespace orvo {

/// The frames of a video file by time. Takes the shortest way to each: decodes on if that is nearer than a seek to a key
/// frame, and keeps recent frames for steps backwards.
///
/// One thread only. Times are seconds in the file.
class VideoSource {
public:
    /// Starts opening the file. Throws as `MediaReader`.
    VideoSource(const std::filesystem::path& file, int rotation);

    /// Waits until the file is readable. Throws as `MediaReader::open`.
    void open(const std::stop_token& stop) { m_reader.open(stop); }

    /// Called between two frames; returns whether to give up.
    using GiveUp = std::function<bool()>;

    struct Frame {
        MediaSample sample; ///< Empty when the file has no frames.
        bool isExact = true; ///< False for an intermediate frame after giving up.
    };

    enum class Want {
        Exact,
        /// May skip non-reference frames, so the result may be one frame early.
        Hurried,
        /// Like `Exact`, but does not decode again what a hurried call just skipped.
        Following,
    };

    /// The frame shown at `seconds`: the last one that starts at or before it, or the first of the file. Past the end,
    /// the last. Throws `captureError` when the file cannot be decoded, and `Cancelled`.
    Frame frameAt(double seconds, Want want, const std::stop_token& stop, const GiveUp& giveUp = {});

    /// Starts decoding towards `seconds` once the file is open, without waiting; call it again to continue. Speeds up
    /// `frameAt`.
    void prepare(double seconds);
    /// The prepared time, once its preparation has started.
    std::optional<double> prepared() const { return m_prepared; }

    /// Whether reading failed, when opening or later.
    bool isBroken() const { return m_reader.isBroken(); }

private:
    void seek(double seconds, MediaReader::Seek mode);
    MediaSample advance(const std::stop_token& stop);
    void remember(const MediaSample& sample);
    const MediaSample* remembered(double seconds) const;
    /// Whether the frame's end is reliable. With a variable frame rate only the next frame shows it.
    bool hasReliableEnd(const MediaSample& sample) const;

    MediaReader m_reader;
    std::deque<MediaSample> m_recent; ///< In order of time.
    MediaSample m_pushedBack; ///< Read, but later than requested.
    MediaSample m_last; ///< The last frame read since the last seek.
    MediaSample m_final; ///< The last frame of the file, once it was reached.
    std::optional<double> m_position; ///< Time up to which the file was read; nullopt before the first seek and after the
                                      ///< end.
    double m_minDuration = 1e9; ///< Minimum frame duration seen, in seconds.
    std::optional<double> m_wanted; ///< A preparation that has not started.
    std::optional<double> m_prepared;
    bool m_isCutShort = false; ///< The next frame starts at the prepared time, not at its own.
    bool m_hasHoles = false; ///< Hurried calls skipped frames since the last seek.
};

} // namespace orvo
