#pragma once

#include "OrvoVideo/capture/audio/AudioInputs.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace orvo {

/// Places blocks of audio at their times: fills gaps with silence, drops overlaps, and stretches blocks by a few samples
/// where the device's clock drifts from the recording's.
///
/// A device that has just (re)connected may lose more audio, or report inaccurate times, before its stream is steady. For
/// five seconds smaller displacements are therefore corrected at once too, with silence or by dropping samples.
class AudioTimeline {
public:
    /// Receives the audio from time 0, interleaved, without gaps.
    using Sink = std::function<void(std::span<const float>)>;

    AudioTimeline(int channels, Sink sink);

    int channels() const noexcept { return m_channels; }

    /// The current length, in samples per channel.
    std::int64_t length() const noexcept { return m_length; }

    /// Adds a block whose first sample belongs at `seconds`; drops samples before time 0.
    void add(const AudioBlock& block, double seconds);

    /// Adds silence up to this time; does nothing if the audio is already that long.
    void fillUntil(double seconds);

private:
    void write(std::span<const float> samples);
    void writeStretched(std::span<const float> samples, std::int64_t more);
    std::int64_t correction(std::int64_t late, std::int64_t frames);
    bool isDisplaced(std::int64_t place, std::int64_t late);

    int m_channels;
    Sink m_sink;
    std::int64_t m_length = 0;
    bool m_overlaps = false; ///< Incoming audio overlaps the audio written so far.
    double m_lateness = 0; ///< Smoothed delay of blocks relative to their times, in samples.
    std::int64_t m_settled = 0; ///< Position from which the stream counts as steady, in samples.
    int m_displacedBlocks = 0; ///< Consecutive blocks displaced in one direction; negative if early.
    std::vector<float> m_converted;
    std::vector<float> m_stretched;
};

} // namespace orvo
