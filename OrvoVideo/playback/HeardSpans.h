#pragma once

#include "OrvoVideo/playback/PreviewPlayer.h"

#include <cstdint>
#include <span>
#include <vector>

namespace orvo {

/// The audible spans of the mixed audio, with their fades. A value.
class HeardSpans {
public:
    HeardSpans() = default;
    /// Without spans, everything is audible.
    explicit HeardSpans(std::vector<PreviewPlayer::HeardSpan> spans);

    /// Gain at a time: 0..1.
    double gain(double seconds) const;

    /// Applies the gain to interleaved stereo that begins at sample `position` of the timeline, at `rate` samples a second.
    void apply(std::int64_t position, int rate, std::span<float> samples) const;

private:
    std::vector<PreviewPlayer::HeardSpan> m_spans; ///< Sorted and disjoint.
};

} // namespace orvo
