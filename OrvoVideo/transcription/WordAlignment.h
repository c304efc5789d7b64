#pragma once

#include "OrvoVideo/transcription/Whisper.h"
#include "VideoCore/VideoProject.h"

#include <string_view>
#include <vector>

namespace orvo::speech {

/// The duration of a word in average syllables.
double syllables(std::string_view text);

/// A word and its time in the audio.
struct PlacedWord {
    HeardWord word;
    TimeSpan place;
    std::size_t stretch = 0; ///< Index of the stretch of speech that contains it.
};

/// Places words at the times at which they are spoken.
///
/// The recogniser knows the time of each word roughly; the stretches of speech are exact. Assigns every word to one
/// stretch, in order, so that in total the words are closest to where they were heard and to the duration of their
/// syllables. Within a stretch the words are contiguous: the first starts and the last ends with it. A stretch may stay
/// without words, such as a cough.
///
/// All times are seconds in the same audio; `stretches` are in order and disjoint.
std::vector<PlacedWord> place(std::vector<HeardWord> words, const std::vector<TimeSpan>& stretches);

} // namespace orvo::speech
