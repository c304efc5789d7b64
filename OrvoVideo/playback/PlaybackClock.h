#pragma once

#include "OrvoVideo/playback/AudioTrack.h"
#include "OrvoVideo/playback/HeardSpans.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orvo {

/// The time of the playing composition, and its audio. While the audio is audible, the audio device is the clock, so
/// that frames stay in sync; otherwise the system clock is.
///
/// Call `prepare`, `run` and `stop` on one thread, `position` on any.
class PlaybackClock {
public:
    /// `sink` is the audio sink in gst-launch notation.
    PlaybackClock(std::vector<std::shared_ptr<AudioTrack>> tracks, const std::string& sink);
    ~PlaybackClock();
    PlaybackClock(const PlaybackClock&) = delete;
    PlaybackClock& operator=(const PlaybackClock&) = delete;

    /// Stops, and prepares the audio from `position` without waiting for it.
    void prepare(double position, double rate);
    /// Starts the clock at the prepared position. Backwards, and at speeds at which speech is unintelligible, it is
    /// silent.
    void run();
    /// Stops the clock at its position.
    void stop();

    /// Sets the audible spans, from the next block of audio on. Thread-safe.
    void setHeard(HeardSpans spans);

    /// Seconds of the composition.
    double position();

private:
    struct Output;

    std::unique_ptr<Output> m_output; ///< Null without audio.
    std::mutex m_mutex; ///< Guards the members below.
    bool m_isRunning = false;
    bool m_isHeard = false; ///< Whether the audio device is the clock.
    double m_rate = 1;
    double m_anchor = 0; ///< The last known position.
    std::int64_t m_anchorTime = 0; ///< When it was known: system clock, nanoseconds.
};

} // namespace orvo
