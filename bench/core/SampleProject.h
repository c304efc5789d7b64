#pragma once

#include "VideoCore/VideoProject.h"

/// Documents with the size and shape of recorded lessons: times and positions with all digits, Spanish words.
namespace orvo::bench {

struct SampleSize {
    double seconds = 0;
    int moves = 0; ///< Logged positions of the pointer, at a constant rate.
    int clicks = 0;
    int words = 0; ///< Spread over the recording, one after the other.
    int cuts = 0; ///< Disjoint, as the editor stores them.
};

/// Returns the same project for the same size, except for its identifiers.
VideoProject sampleProject(const SampleSize& size);

/// One hour with twelve pointer events a second.
inline constexpr SampleSize oneHour{.seconds = 3600, .moves = 42'900, .clicks = 300, .words = 9'000, .cuts = 300};

/// Five minutes, a typical length.
inline constexpr SampleSize fiveMinutes{.seconds = 300, .moves = 3'600, .clicks = 40, .words = 750, .cuts = 20};

} // namespace orvo::bench
