#pragma once

#include "OrvoVideo/transcription/Whisper.h"

#include <string_view>
#include <vector>

namespace orvo::speech {

/// A stretch of time in seconds.
struct Interval {
    double start = 0;
    double end = 0;
};

/// How long a word takes to say, in syllables of usual length.
double syllables(std::string_view text);

/// A word with its place in the sound.
struct PlacedWord {
    HeardWord word;
    Interval place; ///< Seconds.
    std::size_t stretch = 0; ///< The stretch of speech that it lies in.
};

/// Puts words where they are spoken.
///
/// The recogniser knows about where each word is; the stretches of speech say exactly where sound begins and ends. Every
/// word is given to one stretch, in order, so that all words together are as near as can be to where they were heard and as
/// long as their syllables ask for. Within a stretch the words follow one another without a gap, the first beginning and the
/// last ending with it. A stretch may stay without words: a cough, a chair.
///
/// All times in seconds of the same sound; `stretches` in order and disjoint.
std::vector<PlacedWord> place(std::vector<HeardWord> words, const std::vector<Interval>& stretches);

} // namespace orvo::speech
