#pragma once

#include "OrvoVideo/playback/HeardSpans.h"
#include "OrvoVideo/playback/SoundTrack.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orvo {

/// The time of the playing composition, and its sound: while sound is heard, the sound device tells the time, so that
/// pictures keep to what is heard; without sound or without a device, the system's clock.
///
/// `prepare`, `run` and `stop` belong to one thread, `position` to any.
class PlaybackClock {
public:
    /// `sink` describes the GStreamer elements that the sound goes to.
    PlaybackClock(std::vector<std::shared_ptr<SoundTrack>> tracks, std::string sink);
    ~PlaybackClock();
    PlaybackClock(const PlaybackClock&) = delete;
    PlaybackClock& operator=(const PlaybackClock&) = delete;

    /// Stops, and gets the sound from `position` on ready without waiting for it.
    void prepare(double position, double rate);
    /// Starts the time from what was prepared. Speeds that are not understood as speech any more, and backwards, are
    /// silent.
    void run();
    /// Halts the time where it is.
    void stop();

    /// What is heard from the next block of sound on. From any thread.
    void setHeard(HeardSpans spans);

    /// Seconds of the composition.
    double position();

private:
    struct Output;

    std::unique_ptr<Output> m_output; ///< Nothing without sound.
    std::mutex m_mutex; ///< For what follows.
    bool m_isRunning = false;
    bool m_isHeard = false; ///< Whether the sound device tells the time.
    double m_rate = 1;
    double m_anchor = 0; ///< The last position known.
    std::int64_t m_anchorTime = 0; ///< When it was known, on the system's clock in nanoseconds.
};

} // namespace orvo
