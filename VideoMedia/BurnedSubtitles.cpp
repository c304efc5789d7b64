#include "VideoMedia/BurnedSubtitles.h"

#include "VideoCore/Phrases.h"
#include "VideoCore/Timeline.h"
#include "VideoMedia/AssText.h"

#include <algorithm>
#include <format>
#include <vector>

namespace orvo::BurnedSubtitles {

namespace {

/// One cue for each kept piece of each word.
std::vector<Phrases::Phrase> wordsOf(const VideoProject& project)
{
    const Timeline::OutputMap map(project.duration, project.edit.cuts);
    std::vector<Phrases::Phrase> cues;
    for (const auto& word : project.edit.words) {
        map.forEachPiece({.start = word.start, .end = word.end},
            [&](const TimeSpan& piece) { cues.push_back({.start = piece.start, .end = piece.end, .lines = {word.text}}); });
    }
    return cues;
}

} // namespace

std::string document(const VideoProject& project, SubtitleCues cues, std::int64_t width, std::int64_t height)
{
    // Two lines of 42 letters, the maximum of a phrase, fit the width of landscape and portrait frames.
    const auto size = std::max<std::int64_t>(std::min(height / 20, width / 24), 8);
    const auto box = std::max<std::int64_t>(size / 5, 1);
    std::string text =
        std::format("[Script Info]\nScriptType: v4.00+\nPlayResX: {}\nPlayResY: {}\nWrapStyle: 0\n"
                    "[V4+ Styles]\n"
                    "Format: Name, Fontname, Fontsize, PrimaryColour, OutlineColour, BackColour, BorderStyle, "
                    "Outline, Shadow, Alignment, MarginL, MarginR, MarginV\n"
                    "Style: Default,Helvetica,{},&H00FFFFFF,&H50101010,&H50101010,3,{},0,2,{},{},{}\n"
                    "[Events]\n"
                    "Format: Layer, Start, End, Style, MarginL, MarginR, MarginV, Text\n",
            width, height, size, box, width / 20, width / 20, height / 18);
    for (const auto& cue : cues == SubtitleCues::phrases ? Phrases::of(project) : wordsOf(project)) {
        std::string lines;
        for (const auto& line : cue.lines)
            lines += (lines.empty() ? "" : "\\N") + AssText::escaped(Timeline::cueText(line));
        text +=
            std::format("Dialogue: 0,{},{},Default,0,0,0,{}\n", AssText::stamp(cue.start), AssText::stamp(cue.end), lines);
    }
    return text;
}

} // namespace orvo::BurnedSubtitles
