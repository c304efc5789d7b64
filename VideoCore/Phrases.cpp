#include "VideoCore/Phrases.h"

#include "VideoCore/Transcript.h"

#include <algorithm>
#include <cstdlib>
#include <format>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

namespace orvo::Phrases {

namespace {

using Transcript::endsClause;
using Transcript::endsSentence;

/// The part of a word that the cuts leave, on the output timeline.
struct Spoken {
    double start = 0;
    double end = 0;
    std::string text;
    std::size_t length = 0; ///< Characters.
};

constexpr double minWordDuration = 0.001; ///< Seconds.

// Costs of a division into phrases. Only their relative size matters: the division with the smallest sum wins.
constexpr double phraseCost = 1; ///< Each phrase, to avoid more than needed.
constexpr double looseEndCost = 3; ///< A phrase that ends neither at punctuation nor at a gap.
constexpr double commaCost = 0.6; ///< A phrase that ends at a comma.
constexpr double innerSentenceCost = 2.5; ///< A sentence that ends inside a phrase.
constexpr double orphanCost = 4; ///< A single word that is not a whole sentence.
constexpr double hasteCost = 0.4; ///< Each character per second above the rate.
constexpr double shortCost = 3; ///< Each second below the minimum duration.

std::size_t characters(std::string_view text)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::vector<Spoken> spokenWords(const VideoProject& project)
{
    const Timeline::OutputMap map(project.duration, project.edit.cuts);
    std::vector<Spoken> words;
    for (const auto& word : project.edit.words) {
        std::optional<Spoken> spoken;
        map.forEachPiece({.start = word.start, .end = word.end}, [&](const TimeSpan& piece) {
            if (!spoken)
                spoken = Spoken{.start = piece.start, .text = word.text, .length = characters(word.text)};
            spoken->end = piece.end;
        });
        if (spoken && spoken->length > 0)
            words.push_back(std::move(*spoken));
    }
    std::ranges::stable_sort(words, {}, &Spoken::start);
    // Recognisers may place words at the same time or let them overlap.
    std::vector<Spoken> apart;
    for (auto& word : words) {
        if (!apart.empty() && word.start - apart.back().start < minWordDuration) {
            apart.back().text += " " + word.text;
            apart.back().length += 1 + word.length;
            apart.back().end = std::max(apart.back().end, word.end);
            continue;
        }
        if (!apart.empty())
            apart.back().end = std::min(apart.back().end, word.start);
        apart.push_back(std::move(word));
    }
    return apart;
}

std::size_t joinedLength(std::span<const Spoken> words)
{
    std::size_t length = words.size() - 1;
    for (const auto& word : words)
        length += word.length;
    return length;
}

std::string joined(std::span<const Spoken> words)
{
    std::string text;
    for (const auto& word : words)
        text += (text.empty() ? "" : " ") + word.text;
    return text;
}

/// The number of words on the first of two lines so that both fit, or nullopt. Prefers lines of similar length, a longer
/// second line, and breaks after punctuation.
std::optional<std::size_t> lineBreak(std::span<const Spoken> words)
{
    std::optional<std::size_t> best;
    double bestCost = std::numeric_limits<double>::infinity();
    for (std::size_t count = 1; count < words.size(); ++count) {
        const auto first = joinedLength(words.first(count));
        const auto second = joinedLength(words.subspan(count));
        if (first > maxLineLength || second > maxLineLength)
            continue;
        const double difference = static_cast<double>(second) - static_cast<double>(first);
        const auto& last = words[count - 1].text;
        const double cost = std::abs(difference) + (difference < 0 ? 4 : 0)
            - (endsSentence(last)      ? 16
                    : endsClause(last) ? 10
                                       : 0);
        if (cost < bestCost) {
            bestCost = cost;
            best = count;
        }
    }
    return best;
}

bool fits(std::span<const Spoken> words)
{
    return words.size() == 1 || joinedLength(words) <= maxLineLength || lineBreak(words);
}

/// The cost of a phrase of these words; infinite when it is not allowed. `next` is where the following word starts.
double costOf(std::span<const Spoken> words, double next)
{
    constexpr double never = std::numeric_limits<double>::infinity();
    const double spoken = words.back().end - words.front().start;
    if (words.size() > 1 && (spoken > maxDuration || !fits(words)))
        return never;
    double cost = phraseCost;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (words[i + 1].start - words[i].end >= breakingGap)
            return never;
        if (endsSentence(words[i].text))
            cost += innerSentenceCost;
    }
    const auto& last = words.back();
    const bool isEnd = endsSentence(last.text) || next - last.end >= breakingGap;
    if (!isEnd)
        cost += endsClause(last.text) ? commaCost : looseEndCost;
    if (words.size() == 1 && !endsSentence(last.text))
        cost += orphanCost;
    const double shown = std::min(next, words.front().start + maxDuration) - words.front().start;
    cost += shortCost * std::max(minDuration - shown, 0.0);
    if (shown > 0)
        cost += hasteCost * std::max(static_cast<double>(joinedLength(words)) / shown - maxRate, 0.0);
    return cost;
}

/// The number of words in each phrase, for the division with the smallest cost.
std::vector<std::size_t> division(std::span<const Spoken> words, double end)
{
    struct Step {
        double cost = std::numeric_limits<double>::infinity();
        std::size_t count = 1; ///< Words of the last phrase.
    };
    constexpr std::size_t maxWords = maxLines * (maxLineLength + 1) / 2; // One letter and one space each.
    std::vector<Step> best(words.size() + 1);
    best[0].cost = 0;
    for (std::size_t i = 1; i <= words.size(); ++i) {
        const double next = i < words.size() ? words[i].start : std::max(end, words[i - 1].end);
        for (std::size_t count = 1; count <= std::min(i, maxWords); ++count) {
            const double cost = best[i - count].cost + costOf(words.subspan(i - count, count), next);
            if (cost < best[i].cost)
                best[i] = {.cost = cost, .count = count};
        }
    }
    std::vector<std::size_t> counts;
    for (std::size_t i = words.size(); i > 0; i -= best[i].count)
        counts.push_back(best[i].count);
    std::ranges::reverse(counts);
    return counts;
}

} // namespace

std::vector<Phrase> of(const VideoProject& project)
{
    const auto words = spokenWords(project);
    const double end = project.playableDuration();
    std::vector<Phrase> phrases;
    std::size_t at = 0;
    for (const std::size_t count : division(words, end)) {
        const auto own = std::span(words).subspan(at, count);
        at += count;
        Phrase phrase{.start = own.front().start, .end = own.back().end, .lines = {}};
        const auto breakAt = joinedLength(own) <= maxLineLength ? std::nullopt : lineBreak(own);
        phrase.lines =
            breakAt ? std::vector{joined(own.first(*breakAt)), joined(own.subspan(*breakAt))} : std::vector{joined(own)};
        // For slow readers, a phrase stays longer than it is spoken where there is room.
        const double wanted =
            phrase.start + std::clamp(static_cast<double>(joinedLength(own)) / maxRate, minDuration, maxDuration);
        const double room = at < words.size() ? words[at].start : std::max(end, phrase.end);
        phrase.end = std::max(phrase.end, std::min(wanted, room));
        phrases.push_back(std::move(phrase));
    }
    return phrases;
}

std::string subtitles(const VideoProject& project, Timeline::SubtitleFormat format)
{
    std::string text = format == Timeline::SubtitleFormat::webVtt ? "WEBVTT\n" : "";
    std::int64_t number = 0;
    for (const auto& phrase : of(project)) {
        text += std::format("{}{}\n{} --> {}\n", text.empty() ? "" : "\n", ++number, Timeline::stamp(phrase.start, format),
            Timeline::stamp(phrase.end, format));
        for (const auto& line : phrase.lines)
            text += Timeline::cueText(line) + "\n";
    }
    return text + "\n";
}

} // namespace orvo::Phrases
