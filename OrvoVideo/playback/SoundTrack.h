#pragma once

#include "OrvoVideo/playback/MediaReader.h"

#include <atomic>
#include <optional>
#include <span>

namespace orvo {

/// One sound file laid on the timeline, read at any position and mixed with its gain.
///
/// `mix` belongs to one thread at a time; the gain may be set from any.
class SoundTrack {
public:
    /// Starts to open the file. Throws as `MediaReader`.
    SoundTrack(const std::filesystem::path& file, double start, double gain);

    /// Waits until the file can be read. Throws as `MediaReader::open`.
    void open(const std::stop_token& stop) { m_reader.open(stop); }

    void setPlace(double start) { m_start = start; }
    void setGain(double gain) { m_gain = static_cast<float>(gain); }

    /// Adds what lies from `position` (a count of samples of the timeline at 48 kHz) to `mixed`, interleaved stereo. A
    /// changed gain is reached smoothly. Throws `Cancelled`.
    void mix(std::int64_t position, std::span<float> mixed, const std::stop_token& stop);

private:
    bool readOn(const std::stop_token& stop);

    MediaReader m_reader;
    double m_start;
    std::atomic<float> m_gain;
    float m_heardGain;
    MediaSample m_sample;
    std::optional<std::int64_t> m_position; ///< Of the file, up to where has been mixed.
    std::int64_t m_sampleStart = 0; ///< Of the file, where `m_sample` begins.
    std::int64_t m_sampleLength = 0;
    bool m_ended = false;
};

} // namespace orvo
