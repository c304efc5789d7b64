#pragma once

#include "OrvoVideo/transcription/SpeechActivity.h"

#include <string_view>
#include <vector>

namespace orvo::speech {

/// A word and its approximate beginning.
struct WordStart {
    std::string_view text;
    double seconds = 0; ///< In the recording.
};

/// Moves the beginnings of the words of one stretch of speech to where the audio changes, by at most a tenth of a second.
///
/// The recogniser works in steps of 20 ms and places a word some hundredths of a second early or late. The energy is more
/// exact: it falls where a consonant begins. All beginnings are chosen together, so that words keep their order and
/// do not vanish. `words` are in order; the first one starts with the stretch and stays.
std::vector<double> wordStarts(const std::vector<WordStart>& words, Frames stretch, const Loudness& loudness);

} // namespace orvo::speech
