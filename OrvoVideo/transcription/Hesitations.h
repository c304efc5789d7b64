#pragma once

#include "OrvoVideo/transcription/Whisper.h"

#include <string>
#include <string_view>
#include <vector>

namespace orvo::speech {

/// A hesitation in its usual spelling ("Uuuh…" is "Uh…", "Ehm" is "Em", "MM-MM" is "Mmm"), with the case of its first letter
/// and the marks around it as they were; empty for a word that is none.
std::string asHesitation(std::string_view word);

/// Whether two hesitations in their usual spelling are the same but for case and marks.
bool isSameHesitation(std::string_view one, std::string_view other);

/// Whether the same few words come again and again, as when a recogniser has got caught.
bool repeatsItself(const std::vector<HeardWord>& words);

} // namespace orvo::speech
