#include "OrvoVideo/transcription/WordBoundaries.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

namespace orvo::speech {

namespace {

constexpr double nearby = 0.04; ///< A beginning this many seconds from where it was heard costs 1.
constexpr std::size_t reach = 10; ///< Frames before and after the place where it was heard.
constexpr std::size_t around = 3; ///< Frames that are compared before and after a place.
constexpr std::size_t minWord = 4; ///< Frames.
constexpr double fallWeight = 0.1; ///< Gain per dB that the energy falls at the beginning of a consonant.
constexpr double changeWeight = 0.05; ///< Gain per dB of any change.
constexpr double lowest = -75; ///< dBFS; lower levels count as silence.

/// Whether a word begins with a vowel, after opening punctuation and a mute h. The energy does not fall there.
bool beginsWithVowel(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == 0xC3) // First byte of á, é, í, ó, ú and their capitals, and of one consonant, ñ.
            return i + 1 < text.size() && (static_cast<unsigned char>(text[i + 1]) | 0x20) != 0xB1;
        if (std::isalnum(c) != 0 && c != 'h' && c != 'H')
            return std::string_view("aeiouyAEIOUY").contains(static_cast<char>(c));
    }
    return false;
}

/// The rise of the energy in each band from before a frame to after it, in dB.
std::array<double, 2> riseAt(const Loudness& loudness, std::size_t frame)
{
    const auto rise = [&](const std::vector<float>& level) {
        const auto mean = [&](std::size_t begin, std::size_t end) {
            double sum = 0;
            for (std::size_t i = begin; i < end; ++i)
                sum += std::max<double>(level[i], lowest);
            return sum / static_cast<double>(end - begin);
        };
        const std::size_t begin = frame - std::min(frame, around);
        const std::size_t end = std::min(frame + around, level.size());
        return begin < frame && frame < end ? mean(frame, end) - mean(begin, frame) : 0;
    };
    return {rise(loudness.voice), rise(loudness.hiss)};
}

struct Candidate {
    std::size_t frame = 0;
    double cost = 0; ///< Sum over this one and the best ones before it.
    std::size_t from = 0; ///< Index of the best one before it.
};

/// The frames at which a word may begin, with their costs.
std::vector<Candidate> candidatesFor(const WordStart& word, Frames stretch, const Loudness& loudness)
{
    const bool falls = !beginsWithVowel(word.text);
    const auto heard = static_cast<std::size_t>(std::clamp(
        std::lround(word.seconds / frameSeconds), static_cast<long>(stretch.begin), static_cast<long>(stretch.end)));
    std::vector<Candidate> result;
    for (std::size_t frame = std::max(heard, stretch.begin + reach) - reach; frame <= std::min(heard + reach, stretch.end);
        ++frame) {
        const double away = (static_cast<double>(frame) * frameSeconds - word.seconds) / nearby;
        const auto [voice, hiss] = riseAt(loudness, frame);
        double cost = away * away - changeWeight * std::hypot(voice, hiss) / std::numbers::sqrt2;
        if (falls)
            cost += fallWeight * (voice + hiss) / 2;
        result.push_back({.frame = frame, .cost = cost});
    }
    return result;
}

} // namespace

std::vector<double> wordStarts(const std::vector<WordStart>& words, Frames stretch, const Loudness& loudness)
{
    std::vector<double> starts;
    starts.reserve(words.size());
    for (const auto& word : words)
        starts.push_back(word.seconds);
    if (words.size() < 2)
        return starts;
    std::vector<std::vector<Candidate>> candidates{{{.frame = stretch.begin}}};
    for (std::size_t i = 1; i < words.size(); ++i) {
        const auto& before = candidates.back();
        std::vector<Candidate> next;
        for (auto candidate : candidatesFor(words[i], stretch, loudness)) {
            double best = std::numeric_limits<double>::infinity();
            for (std::size_t k = 0; k < before.size() && before[k].frame + minWord <= candidate.frame; ++k) {
                if (before[k].cost < best) {
                    best = before[k].cost;
                    candidate.from = k;
                }
            }
            candidate.cost += best;
            if (std::isfinite(best) && candidate.frame + minWord <= stretch.end)
                next.push_back(candidate);
        }
        if (next.empty()) // Words are crammed: there is no room to choose.
            return starts;
        candidates.push_back(std::move(next));
    }
    auto chosen = static_cast<std::size_t>(
        std::ranges::min_element(candidates.back(), {}, &Candidate::cost) - candidates.back().begin());
    for (std::size_t i = words.size(); i-- > 1;) {
        const auto& candidate = candidates[i][chosen];
        starts[i] = static_cast<double>(candidate.frame) * frameSeconds;
        chosen = candidate.from;
    }
    return starts;
}

} // namespace orvo::speech
