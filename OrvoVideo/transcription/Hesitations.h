#pragma once

#include "OrvoVideo/transcription/Whisper.h"

#include <string>
#include <string_view>
#include <vector>

namespace orvo::speech {

/// A hesitation in its usual spelling ("Uuuh…" is "Uh…", "Ehm" is "Em", "MM-MM" is "Mmm"), keeping the case of its first
/// letter and the punctuation around it. Returns empty for any other word.
std::string asHesitation(std::string_view word);

/// Whether two hesitations in their usual spelling are equal, ignoring case and punctuation.
bool isSameHesitation(std::string_view one, std::string_view other);

/// Whether the same few words repeat, which shows that the recogniser is in a loop.
bool repeatsItself(const std::vector<HeardWord>& words);

/// Whether a whole sentence repeats three times in a row, which no speaker does even if there is time for it.
bool repeatsSentence(const std::vector<HeardWord>& words);

} // namespace orvo::speech
