#pragma once

#include "VideoCore/VideoProject.h"

#include <span>
#include <vector>

/// Suggests edits from the transcript and the pointer log.
namespace orvo::Suggestions {

inline constexpr double longPause = 1.2; ///< Minimum silence to suggest, exclusive, in seconds.
inline constexpr double leadMargin = 0.2; ///< Kept after the speech before a pause, in seconds.
inline constexpr double trailMargin = 0.15; ///< Kept before the word after a pause, in seconds.
inline constexpr double zoomSpacing = 5; ///< Minimum time between suggested zooms, exclusive, in seconds.
inline constexpr double zoomLength = 3; ///< Length of a suggested zoom, in seconds.

/// Cuts for long pauses and filler words, in word order, then the final pause, then zoom points at clicks, in event
/// order.
///
/// Depends on words, events and duration only. Each call creates new identifiers. May repeat existing cuts.
std::vector<EditSuggestion> generate(const VideoProject& project);

inline constexpr double minGain = 0.1; ///< Cuts that would remove less than this are not offered, in seconds.
inline constexpr double stopClick = 1.5; ///< A click this close to the end of the recording stopped it, in seconds.

/// The suggestions that are still useful for the project as edited now, in their order: no cut of what is already cut, no
/// zoom inside a cut or overlapping another zoom, and no zoom for the click that stopped the recording.
std::vector<EditSuggestion> offered(const VideoProject& project, std::span<const EditSuggestion> suggestions);

/// The project with these suggestions applied.
VideoProject applied(VideoProject project, std::span<const EditSuggestion> suggestions);

/// Whether a word is a filler, ignoring case and the punctuation around it. Also used to mark fillers in a transcript.
bool isFiller(std::string_view word);

} // namespace orvo::Suggestions
