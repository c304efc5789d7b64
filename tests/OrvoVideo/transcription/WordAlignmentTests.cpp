#include "OrvoVideo/transcription/Hesitations.h"
#include "OrvoVideo/transcription/WordAlignment.h"
#include "OrvoVideo/transcription/WordBoundaries.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <random>
#include <sstream>

namespace orvo::speech {

namespace {

using testing::ElementsAre;

std::vector<HeardWord> heard(const std::string& text)
{
    std::vector<HeardWord> words;
    std::istringstream in(text);
    for (std::string word; in >> word;)
        words.push_back({.text = word, .probability = 1});
    return words;
}

/// The words of each stretch, with blanks between them.
std::vector<std::string> byStretch(const std::vector<PlacedWord>& placed, std::size_t stretches)
{
    std::vector<std::string> result(stretches);
    for (const auto& word : placed)
        result[word.stretch] += (result[word.stretch].empty() ? "" : " ") + word.word.text;
    return result;
}

TEST(WordAlignment, AssignsPausesToNoWord)
{
    // The attention stays on "calma" through the pause after it, and "eh" is alone.
    auto words = heard("con calma eh seguimos");
    words[0].end = 0.4;
    words[1].end = 3.0;
    words[2].end = 3.4;
    words[3].end = 5.6;
    const std::vector<TimeSpan> stretches{
        {.start = 0.1, .end = 1.1}, {.start = 3.0, .end = 3.4}, {.start = 5.0, .end = 5.7}};
    const auto placed = place(words, stretches);
    ASSERT_THAT(byStretch(placed, 3), ElementsAre("con calma", "eh", "seguimos"));
    EXPECT_DOUBLE_EQ(placed[0].place.start, 0.1);
    EXPECT_DOUBLE_EQ(placed[0].place.end, 0.4);
    EXPECT_DOUBLE_EQ(placed[1].place.start, 0.4);
    EXPECT_DOUBLE_EQ(placed[1].place.end, 1.1);
    EXPECT_DOUBLE_EQ(placed[2].place.start, 3.0);
    EXPECT_DOUBLE_EQ(placed[3].place.end, 5.7);
}

TEST(WordAlignment, AllowsHesitationsOfAnyLength)
{
    auto words = heard("mm, si seguimos");
    words[0].end = 2.0;
    words[1].end = 3.5;
    words[2].end = 4.1;
    const std::vector<TimeSpan> stretches{{.start = 1.0, .end = 2.1}, {.start = 3.3, .end = 4.2}};
    EXPECT_THAT(byStretch(place(words, stretches), 2), ElementsAre("mm,", "si seguimos"));
}

TEST(WordAlignment, LeavesNoiseWithoutWords)
{
    auto words = heard("vamos a ver");
    words[0].end = 2.4;
    words[1].end = 2.5;
    words[2].end = 2.9;
    const std::vector<TimeSpan> stretches{{.start = 0.2, .end = 0.3}, {.start = 2.0, .end = 2.95}};
    EXPECT_THAT(byStretch(place(words, stretches), 2), ElementsAre("", "vamos a ver"));
}

/// Places all words of any input in order, disjoint and within stretches.
TEST(WordAlignment, KeepsAllWordsInOrder)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> chance(0, 1);
    for (int round = 0; round < 300; ++round) {
        std::vector<HeardWord> words;
        for (int i = 0; i < round % 40; ++i)
            words.push_back({.text = "palabra", .end = chance(random) * 20 - 1, .probability = 1});
        std::vector<TimeSpan> stretches;
        double at = 0;
        for (int i = 0; i < 1 + round % 7; ++i) {
            at += 0.2 + chance(random);
            stretches.push_back({.start = at, .end = at + 0.06 + 2 * chance(random)});
            at = stretches.back().end;
        }
        const auto placed = place(words, stretches);
        ASSERT_EQ(placed.size(), words.size());
        double last = 0;
        for (const auto& word : placed) {
            EXPECT_GE(word.place.start, last);
            EXPECT_GT(word.place.end, word.place.start);
            EXPECT_GE(word.place.start, stretches[word.stretch].start);
            EXPECT_LE(word.place.end, stretches[word.stretch].end + 1e-9);
            last = word.place.end;
        }
    }
    EXPECT_TRUE(place(heard("uno"), {}).empty());
}

/// The level of a stretch of speech, softer in the frames from `begin` to `end`.
Loudness loudnessWithDip(std::size_t begin, std::size_t end)
{
    Loudness loudness{.voice = std::vector<float>(200, -20), .hiss = std::vector<float>(200, -45)};
    std::fill(loudness.voice.begin() + static_cast<std::ptrdiff_t>(begin),
        loudness.voice.begin() + static_cast<std::ptrdiff_t>(end), -38.0F);
    return loudness;
}

TEST(WordBoundaries, PlacesConsonantsAtFallsAndVowelsAtChanges)
{
    const auto loudness = loudnessWithDip(52, 58);
    const Frames stretch{.begin = 10, .end = 150};
    struct Case {
        const char* word;
        double heard;
        double expected;
    };
    for (const auto& [word, heard, expected] : {Case{"tabla", 0.56, 0.52}, Case{"«¿Tú", 0.48, 0.52},
             Case{"ñandú", 0.5, 0.52}, Case{"hoja", 0.57, 0.58}, Case{"¡Él", 0.59, 0.58}, Case{"tabla", 1.1, 1.1}}) {
        const auto starts = wordStarts({{"la", 0.1}, {word, heard}}, stretch, loudness);
        EXPECT_DOUBLE_EQ(starts.front(), 0.1);
        EXPECT_NEAR(starts.back(), expected, 0.0051) << word;
    }
}

TEST(WordBoundaries, KeepsTheOrderOfCrammedWords)
{
    const auto loudness = loudnessWithDip(52, 58);
    for (const std::size_t end : {54U, 58U, 62U, 90U}) {
        const Frames stretch{.begin = 46, .end = end};
        std::vector<WordStart> words;
        for (int i = 0; i < 4; ++i)
            words.push_back({.text = "la", .seconds = 0.46 + 0.005 * i});
        const auto starts = wordStarts(words, stretch, loudness);
        EXPECT_EQ(std::ranges::adjacent_find(starts, std::ranges::greater_equal()), starts.end());
        EXPECT_LT(starts.back(), stretch.endSeconds());
    }
}

TEST(Hesitations, SpellsHesitationsUniformly)
{
    const std::pair<const char*, const char*> table[] = {{"Eh,", "Eh,"}, {"Eeeh…", "Eh…"}, {"¿Eh?", "¿Eh?"},
        {"Ehm...", "Em..."}, {"MMMM.", "Mmm."}, {"mm-mm,", "mmm,"}, {"U.", "Uh."}, {"uuuh", "uh"}, {"Uhm", "Um"},
        {"M-M-M-E.", "Mmm."}, {"me", ""}, {"e", ""}, {"hola", ""}, {"un", ""}, {"mamá", ""}, {"…", ""}};
    for (const auto& [word, usual] : table)
        EXPECT_EQ(asHesitation(word), usual) << word;
}

TEST(Repetition, DetectsLoopsButNotRealRepetitions)
{
    EXPECT_TRUE(repeatsItself(heard("y luego se corta y luego se corta y luego se corta")));
    EXPECT_TRUE(repeatsItself(heard("¿Qué? ¿qué? Qué, qué qué")));
    EXPECT_FALSE(repeatsItself(heard("no, no, no, que no se corta")));
    EXPECT_FALSE(repeatsItself(heard("paso a paso y paso a paso")));
    EXPECT_FALSE(repeatsItself({}));
    const std::string sentence = "aquí tenemos tres columnas con los nombres de los alumnos mmm ";
    EXPECT_TRUE(repeatsSentence(heard("Bueno " + sentence + sentence + sentence)));
    EXPECT_FALSE(repeatsSentence(heard(sentence + "bueno " + sentence + "bueno")));
    EXPECT_FALSE(repeatsSentence(heard("uno dos tres uno dos tres uno dos tres")));
}

} // namespace

} // namespace orvo::speech
