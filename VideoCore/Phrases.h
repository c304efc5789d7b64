#pragma once

#include "VideoCore/Timeline.h"
#include "VideoCore/VideoProject.h"

#include <string>
#include <vector>

/// Subtitles that people can read: the words of a transcript joined to phrases. Pure functions.
namespace orvo::Phrases {

// What subtitles of television and platforms have in common.
inline constexpr std::size_t maxLineLength = 42; ///< Characters; a single longer word keeps its length.
inline constexpr std::size_t maxLines = 2;
inline constexpr double maxDuration = 6; ///< Seconds.
inline constexpr double minDuration = 1; ///< Seconds; kept where the next phrase leaves the room.
inline constexpr double maxRate = 17; ///< Characters a second; kept where the speech allows.
inline constexpr double breakingGap = 0.4; ///< Seconds of silence between two words of one phrase at most.

/// One phrase on the output timeline.
struct Phrase {
    double start = 0; ///< Seconds.
    double end = 0; ///< Seconds.
    std::vector<std::string> lines; ///< One or two.
};

/// The phrases of what remains of the transcript after the cuts: in order, none over another, each word in one of them. They
/// end at punctuation and gaps where that is possible, and stay a little longer than they are spoken where there is room.
std::vector<Phrase> of(const VideoProject& project);

/// The whole subtitle file of a project, one cue for every phrase.
std::string subtitles(const VideoProject& project, Timeline::SubtitleFormat format);

} // namespace orvo::Phrases
