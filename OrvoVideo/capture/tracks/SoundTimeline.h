#pragma once

#include "OrvoVideo/capture/audio/AudioInputs.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace orvo {

/// Lays blocks of sound one behind the other, so that each is where its time says: what is missing is silence, what overlaps
/// is left out, and where the device's clock differs from the recording's, blocks become a few samples longer or shorter.
///
/// A device that has just (re)connected may lose more audio, or report inaccurate times, before its stream is steady. For
/// five seconds a smaller displacement is therefore corrected at once too, with silence or by dropping samples.
class SoundTimeline {
public:
    /// Receives the sound from the beginning on, interleaved, without gaps.
    using Sink = std::function<void(std::span<const float>)>;

    SoundTimeline(int channels, Sink sink);

    int channels() const noexcept { return m_channels; }

    /// How long the sound is, in samples of a channel.
    std::int64_t length() const noexcept { return m_length; }

    /// Adds a block whose first sample belongs `seconds` after the beginning; what belongs before it is left out.
    void add(const SoundBlock& block, double seconds);

    /// Adds silence until the sound is as long as this. Does nothing when it is.
    void fillUntil(double seconds);

private:
    void write(std::span<const float> samples);
    void writeStretched(std::span<const float> samples, std::int64_t more);
    std::int64_t correction(std::int64_t late, std::int64_t frames);
    bool isDisplaced(std::int64_t place, std::int64_t late);

    int m_channels;
    Sink m_sink;
    std::int64_t m_length = 0;
    bool m_overlaps = false; ///< What comes is there already.
    double m_lateness = 0; ///< Of the blocks behind their times, in samples, evened out.
    std::int64_t m_settled = 0; ///< Place from which the stream counts as steady, in samples.
    int m_displacedBlocks = 0; ///< Consecutive blocks displaced in one direction; negative for early ones.
    std::vector<float> m_converted;
    std::vector<float> m_stretched;
};

} // namespace orvo
