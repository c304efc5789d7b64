#include "VideoCore/Edits.h"
#include "VideoCore/Suggestions.h"
#include "VideoCore/Timeline.h"

#include <algorithm>
#include <unordered_set>

namespace orvo::Edits {

namespace {

std::vector<std::string_view> wordsOf(std::string_view text)
{
    std::vector<std::string_view> words;
    for (std::size_t at = 0; (at = text.find_first_not_of(" \t\r\n", at)) != std::string_view::npos;) {
        const std::size_t end = std::min(text.find_first_of(" \t\r\n", at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

/// The part of a pause to cut so that `shortenedPause` remains. Most of the rest follows the speech, which fades out.
TimeSpan middleOf(const TimeSpan& pause)
{
    constexpr double lead = shortenedPause * Suggestions::leadMargin / (Suggestions::leadMargin + Suggestions::trailMargin);
    return {pause.start + lead, pause.end - (shortenedPause - lead)};
}

void addCuts(VideoProject& project, std::span<const TimeSpan> spans)
{
    std::vector<TimeSpan> cuts = project.edit.cuts.items();
    cuts.insert(cuts.end(), spans.begin(), spans.end());
    project.edit.cuts = SharedList(Timeline::merged(cuts, project.duration));
}

/// Shortens every pause of which more than `longerThan` is left.
Shortening shorten(VideoProject& project, std::span<const Transcript::Pause> pauses, double longerThan)
{
    const auto merged = Timeline::merged(project.edit.cuts, project.duration);
    std::vector<TimeSpan> middles;
    double before = 0;
    for (const auto& pause : pauses) {
        const double left = Transcript::remaining(pause.span, merged);
        if (!(left > std::max(longerThan, shortenedPause + minCut)))
            continue;
        middles.push_back(middleOf(pause.span));
        before += Transcript::remaining(middles.back(), merged);
    }
    if (!middles.empty())
        addCuts(project, middles);
    return {.count = middles.size(), .seconds = before};
}

} // namespace

void cutWords(VideoProject& project, std::span<const Uuid> ids)
{
    const std::unordered_set<Uuid> wanted(ids.begin(), ids.end());
    std::vector<TimeSpan> spans;
    for (const auto& word : project.edit.words) {
        if (wanted.contains(word.id))
            spans.push_back({word.start, word.end});
    }
    addCuts(project, spans);
}

TimeSpan spanOf(std::span<const TranscriptWord> words, const Transcript::WordRange& range)
{
    const auto part = words.subspan(range.first, range.size());
    return {part.front().start, std::ranges::max(part, {}, &TranscriptWord::end).end};
}

void restorePart(VideoProject& project, TimeSpan span)
{
    const auto& cuts = project.edit.cuts;
    const auto touches = [&](const TimeSpan& cut) { return cut.start < span.end && cut.end > span.start; };
    if (std::ranges::none_of(cuts, touches))
        return;
    std::vector<TimeSpan> rest;
    for (const auto& cut : cuts) {
        if (!touches(cut)) {
            rest.push_back(cut);
            continue;
        }
        for (const TimeSpan& piece : {TimeSpan{cut.start, span.start}, TimeSpan{span.end, cut.end}}) {
            if (piece.duration() >= minRest)
                rest.push_back(piece);
        }
    }
    project.edit.cuts = SharedList(Timeline::merged(rest, project.duration));
}

std::size_t cutFillers(VideoProject& project)
{
    const auto merged = Timeline::merged(project.edit.cuts, project.duration);
    std::vector<TimeSpan> fillers;
    for (const auto& word : project.edit.words) {
        if (Suggestions::isFiller(word.text) && !Transcript::isCut(word, merged, project.duration))
            fillers.push_back({word.start, word.end});
    }
    if (!fillers.empty())
        addCuts(project, fillers);
    return fillers.size();
}

Shortening shortenPause(VideoProject& project, TimeSpan pause)
{
    const Transcript::Pause one{.span = pause};
    return shorten(project, std::span(&one, 1), shortenedPause);
}

Shortening shortenPauses(VideoProject& project, double longerThan)
{
    return shorten(project, Transcript::pauses(project.edit.words, project.duration), longerThan);
}

std::size_t replaceText(VideoProject& project, std::span<const TextSearch::Hit> hits, std::string_view text)
{
    const auto replacement = wordsOf(text);
    if (hits.empty() || replacement.empty())
        return 0;
    auto& words = project.edit.words.edit();
    std::vector<char> isLeftOver(words.size());
    // Backwards, so that the byte positions of earlier hits in the same word stay valid.
    for (auto hit = hits.rbegin(); hit != hits.rend(); ++hit) {
        const std::string before = words[hit->first].text.substr(0, hit->firstByte);
        const std::string behind = words[hit->last].text.substr(hit->lastEnd);
        const std::size_t places = std::min(replacement.size(), hit->last - hit->first + 1);
        const std::size_t end = hit->first + places;
        for (std::size_t i = 0; i < places; ++i)
            words[hit->first + i].text = replacement[i];
        for (std::size_t i = places; i < replacement.size(); ++i)
            words[end - 1].text.append(" ").append(replacement[i]);
        words[hit->first].text.insert(0, before);
        words[end - 1].text += behind;
        if (end <= hit->last)
            words[end - 1].end = words[hit->last].end;
        std::fill(isLeftOver.begin() + static_cast<std::ptrdiff_t>(end),
            isLeftOver.begin() + static_cast<std::ptrdiff_t>(hit->last) + 1, true);
    }
    std::size_t index = 0;
    std::erase_if(words, [&](const TranscriptWord&) { return isLeftOver[index++] != 0; });
    return hits.size();
}

} // namespace orvo::Edits
