#include "OrvoVideo/transcription/WordAlignment.h"

#include "OrvoVideo/transcription/Hesitations.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

namespace orvo::speech {

namespace {

constexpr double nearby = 0.3; ///< A word this many seconds from where it was heard costs 1.
constexpr double tempoWeight = 1.0; ///< Cost of a stretch twice or half as long as its words.
constexpr double unspokenCost = 2.0; ///< Cost per second of speech without words.
constexpr double minWordDuration = 0.04; ///< Seconds.

class Placement {
public:
    Placement(std::vector<HeardWord> words, const std::vector<TimeSpan>& stretches)
        : m_words(std::move(words))
        , m_stretches(stretches)
        , m_syllables(m_words.size() + 1, 0)
        , m_hesitations(m_words.size() + 1, 0)
    {
        double spoken = 0;
        for (const auto& stretch : stretches)
            spoken += stretch.duration();
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            m_syllables[i + 1] = m_syllables[i] + syllables(m_words[i].text);
            m_hesitations[i + 1] = m_hesitations[i] + (asHesitation(m_words[i].text).empty() ? 0 : 1);
        }
        m_tempo = m_words.empty() ? 0.2 : std::clamp(spoken / m_syllables.back(), 0.08, 0.4);
    }

    std::vector<PlacedWord> run()
    {
        std::vector<PlacedWord> result;
        if (m_words.empty() || m_stretches.empty())
            return result;
        const auto bounds = distribute();
        for (std::size_t stretch = 0; stretch < m_stretches.size(); ++stretch)
            fill(stretch, bounds[stretch], bounds[stretch + 1], result);
        return result;
    }

private:
    double heardEnd(std::size_t word) const { return m_words[word].end; }

    /// The expected duration of the words [first, last).
    double asked(std::size_t first, std::size_t last) const { return (m_syllables[last] - m_syllables[first]) * m_tempo; }

    /// The cost of placing the words [first, last) in a stretch.
    double cost(std::size_t stretch, std::size_t first, std::size_t last) const
    {
        const auto& [start, end] = m_stretches[stretch];
        const double length = end - start;
        if (first == last)
            return unspokenCost * std::min(length, 3.0);
        double total = 0;
        for (std::size_t i = first; i < last; ++i) {
            // The attention may stay on a word through the pause after it. So the word must only find room in the stretch
            // during the time in which it has the attention.
            const double from = i == 0 ? heardEnd(0) - asked(0, 1) : heardEnd(i - 1);
            const double to = std::max(from, heardEnd(i));
            const double apart = std::max({0.0, start - to, from - end});
            const double common = std::max(0.0, std::min(to, end) - std::max(from, start));
            const double lacking = std::max(0.0, std::min({asked(i, i + 1), to - from, length}) - common);
            const double away = (apart + lacking) / nearby;
            total += std::min(away * away, 9.0);
        }
        // A hesitation may have any duration.
        const double ratio = std::log2(length / asked(first, last));
        if (ratio > 0 && m_hesitations[last] - m_hesitations[first] == last - first)
            return total;
        return total + tempoWeight * ratio * ratio;
    }

    /// Returns the first word of every stretch, followed by the number of words.
    std::vector<std::size_t> distribute() const
    {
        const std::size_t words = m_words.size();
        const std::size_t count = m_stretches.size();
        constexpr double never = std::numeric_limits<double>::infinity();
        // best[s][w]: the minimum cost of w words in the first s stretches.
        std::vector best(count + 1, std::vector(words + 1, never));
        std::vector from(count + 1, std::vector<std::size_t>(words + 1, 0));
        best[0][0] = 0;
        for (std::size_t s = 0; s < count; ++s) {
            for (std::size_t w = 0; w <= words; ++w) {
                if (best[s][w] == never)
                    continue;
                for (std::size_t to = w; to <= words; ++to) {
                    const double total = best[s][w] + cost(s, w, to);
                    if (total < best[s + 1][to]) {
                        best[s + 1][to] = total;
                        from[s + 1][to] = w;
                    }
                }
            }
        }
        std::vector<std::size_t> bounds(count + 1, words);
        for (std::size_t s = count; s > 0; --s)
            bounds[s - 1] = from[s][bounds[s]];
        return bounds;
    }

    void fill(std::size_t stretch, std::size_t first, std::size_t last, std::vector<PlacedWord>& result) const
    {
        if (first == last)
            return;
        const auto& [start, end] = m_stretches[stretch];
        const auto count = static_cast<double>(last - first);
        const double minLength = std::min(minWordDuration, (end - start) / count);
        std::vector<double> starts;
        for (std::size_t i = first; i < last; ++i)
            starts.push_back(i == first ? start : heardEnd(i - 1));
        // In order, with a minimum duration for each.
        for (std::size_t i = 1; i < starts.size(); ++i)
            starts[i] = std::max(starts[i], starts[i - 1] + minLength);
        double limit = end;
        for (std::size_t i = starts.size(); i-- > 1;) {
            limit -= minLength;
            starts[i] = std::min(starts[i], limit);
            limit = starts[i];
        }
        for (std::size_t i = first; i < last; ++i) {
            const std::size_t k = i - first;
            result.push_back({.word = m_words[i],
                .place = {.start = starts[k], .end = k + 1 < starts.size() ? starts[k + 1] : end},
                .stretch = stretch});
        }
    }

    std::vector<HeardWord> m_words;
    const std::vector<TimeSpan>& m_stretches;
    std::vector<double> m_syllables; ///< Sum over all words before.
    std::vector<std::size_t> m_hesitations; ///< Number among all words before.
    double m_tempo = 0.2; ///< Seconds per syllable.
};

} // namespace

double syllables(std::string_view text)
{
    double vowels = 0;
    double letters = 0;
    bool inside = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80 && c < 0xC0)
            continue; // A continuation byte.
        // In Spanish, non-ASCII letters are accented vowels and ñ.
        const bool vowel = (c == 0xC3 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) != 0xB1
                               && static_cast<unsigned char>(text[i + 1]) != 0x91)
            || std::string_view("aeiouyAEIOUY").contains(static_cast<char>(c));
        if (vowel && !inside)
            ++vowels;
        inside = vowel;
        if (c >= 0xC3 || std::isalpha(c) != 0)
            ++letters;
        else if (std::isdigit(c) != 0)
            vowels += 2; // A digit is spoken as a word.
    }
    return std::max(0.7, 0.6 * vowels + 0.16 * letters);
}

std::vector<PlacedWord> place(std::vector<HeardWord> words, const std::vector<TimeSpan>& stretches)
{
    return Placement(std::move(words), stretches).run();
}

} // namespace orvo::speech
