#pragma once

#include "VideoCore/VideoProject.h"

#include <vector>

/// Proposes improvements from the transcript and the pointer log.
namespace orvo::Suggestions {

inline constexpr double longPause = 1.2; ///< A silence must be longer than this to be proposed, in seconds.
inline constexpr double leadMargin = 0.2; ///< Kept after the speech before a pause, in seconds.
inline constexpr double trailMargin = 0.15; ///< Kept before the word after a pause, in seconds.
inline constexpr double zoomSpacing = 5; ///< A zoom is proposed only when more than this passed since the last, in seconds.
inline constexpr double zoomLength = 3; ///< Length of a proposed zoom, in seconds.

/// Long pauses and filler words to cut, in word order, then the final pause, then zoom points at clicks, in event order.
///
/// Reads words, events and duration alone. Each call makes new identifiers. What is already cut may be proposed again.
std::vector<EditSuggestion> generate(const VideoProject& project);

/// Whether a word is a filler, whatever its case and the punctuation around it. Also used to mark fillers in a transcript.
bool isFiller(std::string_view word);

} // namespace orvo::Suggestions
