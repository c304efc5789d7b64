#include "VideoCore/Transcript.h"

#include "VideoCore/Timeline.h"

#include <algorithm>
#include <cmath>
#include <format>

namespace orvo::Transcript {

namespace {

/// The silence behind a word; 0 behind the last.
double gapBehind(std::span<const TranscriptWord> words, std::size_t index)
{
    return index + 1 < words.size() ? words[index + 1].start - words[index].end : 0;
}

/// "1:02:03" or "02:03".
std::string clock(double seconds)
{
    const auto whole = static_cast<long long>(std::floor(std::max(seconds, 0.0)));
    if (whole >= 3600)
        return std::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
    return std::format("{:02}:{:02}", whole / 60, whole % 60);
}

/// Escapes a text so that Markdown shows it unchanged.
std::string escaped(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if (std::string_view("\\`*_[]<>#|~").contains(c))
            result += '\\';
        result += c;
    }
    return result;
}

} // namespace

bool endsSentence(std::string_view word)
{
    while (true) {
        if (!word.empty() && std::string_view("\"')]").contains(word.back()))
            word.remove_suffix(1);
        else if (word.ends_with("»") || word.ends_with("”"))
            word.remove_suffix(word.ends_with("»") ? 2 : 3);
        else
            break;
    }
    return word.ends_with('.') || word.ends_with('?') || word.ends_with('!') || word.ends_with("…");
}

bool endsClause(std::string_view word)
{
    return word.ends_with(',') || word.ends_with(';') || word.ends_with(':');
}

std::vector<WordRange> paragraphs(std::span<const TranscriptWord> words)
{
    std::vector<WordRange> result;
    std::size_t first = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::size_t size = i + 1 - first;
        const bool isLong = size >= paragraphWords;
        const bool ends = endsSentence(words[i].text) ? isLong || gapBehind(words, i) >= paragraphPause
                                                      : isLong
                && (size >= maxParagraphWords || gapBehind(words, i) >= paragraphPause
                    || (size >= paragraphWords * 3 / 2 && endsClause(words[i].text)));
        if (ends || i + 1 == words.size()) {
            result.push_back({first, i + 1});
            first = i + 1;
        }
    }
    return result;
}

WordRange sentenceAt(std::span<const TranscriptWord> words, const WordRange& paragraph, std::size_t index)
{
    WordRange sentence{index, index};
    while (sentence.first > paragraph.first && !endsSentence(words[sentence.first - 1].text))
        --sentence.first;
    while (sentence.end < paragraph.end && !endsSentence(words[sentence.end].text))
        ++sentence.end;
    sentence.end = std::min(sentence.end + 1, paragraph.end);
    return sentence;
}

std::vector<Pause> pauses(std::span<const TranscriptWord> words, double duration)
{
    std::vector<Pause> result;
    double speechEnd = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i].start - speechEnd >= shownPause)
            result.push_back({i, {speechEnd, words[i].start}});
        speechEnd = std::max(speechEnd, words[i].end);
    }
    if (!words.empty() && duration - speechEnd >= shownPause)
        result.push_back({words.size(), {speechEnd, duration}});
    return result;
}

double remaining(const TimeSpan& span, std::span<const TimeSpan> merged)
{
    double left = span.duration();
    for (auto cut = std::ranges::upper_bound(merged, span.start, {}, &TimeSpan::end);
        cut != merged.end() && cut->start < span.end; ++cut)
        left -= std::min(cut->end, span.end) - std::max(cut->start, span.start);
    return std::max(left, 0.0);
}

bool isCut(const TranscriptWord& word, std::span<const TimeSpan> merged, double duration)
{
    const auto after = std::ranges::upper_bound(merged, word.start, {}, &TimeSpan::start);
    if (after == merged.begin())
        return false;
    const auto& cut = *(after - 1);
    return word.start < cut.end && std::min(word.end, duration) <= cut.end;
}

std::string text(const VideoProject& project, TextFormat format)
{
    const Timeline::OutputMap map(project.duration, project.edit.cuts);
    // The words on the output timeline: a pause that is cut no longer separates sentences.
    std::vector<TranscriptWord> heard;
    for (const auto& word : project.edit.words) {
        bool isFirst = true;
        map.forEachPiece({.start = word.start, .end = word.end}, [&](const TimeSpan& piece) {
            if (isFirst && !word.text.empty())
                heard.push_back({.id = word.id, .text = word.text, .start = piece.start, .end = piece.end});
            else if (!word.text.empty())
                heard.back().end = piece.end;
            isFirst = false;
        });
    }
    std::string result;
    if (format == TextFormat::markdown && !heard.empty())
        result = "# " + escaped(project.title) + "\n";
    for (const auto& paragraph : paragraphs(heard)) {
        if (!result.empty())
            result += '\n';
        if (format == TextFormat::markdown)
            result += std::format("**{}** ", clock(heard[paragraph.first].start));
        for (std::size_t i = paragraph.first; i < paragraph.end; ++i) {
            if (i > paragraph.first)
                result += ' ';
            result += format == TextFormat::markdown ? escaped(heard[i].text) : heard[i].text;
        }
        result += '\n';
    }
    return result;
}

} // namespace orvo::Transcript
