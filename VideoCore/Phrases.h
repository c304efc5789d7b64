#pragma once

#include "VideoCore/Timeline.h"
#include "VideoCore/VideoProject.h"

#include <string>
#include <vector>

/// Readable subtitles: joins the words of a transcript into phrases. Pure functions.
namespace orvo::Phrases {

// Limits common to subtitles on television and video platforms.
inline constexpr std::size_t maxLineLength = 42; ///< Characters; a longer single word is not split.
inline constexpr std::size_t maxLines = 2;
inline constexpr double maxDuration = 6; ///< Seconds.
inline constexpr double minDuration = 1; ///< Seconds; kept when the next phrase leaves room.
inline constexpr double maxRate = 17; ///< Characters per second; kept when the speech allows it.
inline constexpr double breakingGap = 0.4; ///< Maximum silence between two words of one phrase, in seconds.

/// One phrase on the output timeline.
struct Phrase {
    double start = 0; ///< Seconds.
    double end = 0; ///< Seconds.
    std::vector<std::string> lines; ///< One or two.
};

/// The phrases of the transcript after the cuts: in order, without overlap, each word in exactly one. They end at
/// punctuation and gaps where possible, and stay a little longer than they are spoken where there is room.
std::vector<Phrase> of(const VideoProject& project);

/// The complete subtitle file of a project, one cue per phrase.
std::string subtitles(const VideoProject& project, Timeline::SubtitleFormat format);

} // namespace orvo::Phrases
