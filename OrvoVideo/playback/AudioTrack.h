#pragma once

#include "OrvoVideo/playback/MediaReader.h"

#include <atomic>
#include <optional>
#include <span>

namespace orvo {

/// An audio file on the timeline, read at any position and mixed with its gain.
///
/// Call `mix` on one thread at a time; `setGain` is thread-safe.
class AudioTrack {
public:
    /// Starts opening the file. Throws as `MediaReader`.
    AudioTrack(const std::filesystem::path& file, double start, double gain);

    /// Waits until the file is readable. Throws as `MediaReader::open`.
    void open(const std::stop_token& stop) { m_reader.open(stop); }

    void setPlace(double start) { m_start = start; }
    void setGain(double gain) { m_gain = static_cast<float>(gain); }

    /// Adds the audio from `position` (in samples of the timeline at 48 kHz) to `mixed`, interleaved stereo. Gain changes
    /// are ramped. Throws `Cancelled`.
    void mix(std::int64_t position, std::span<float> mixed, const std::stop_token& stop);

private:
    bool readOn(const std::stop_token& stop);

    MediaReader m_reader;
    double m_start;
    std::atomic<float> m_gain;
    float m_heardGain;
    MediaSample m_sample;
    std::optional<std::int64_t> m_position; ///< Position in the file up to which it is mixed.
    std::int64_t m_sampleStart = 0; ///< Position of `m_sample` in the file.
    std::int64_t m_sampleLength = 0;
    bool m_ended = false;
};

} // namespace orvo
