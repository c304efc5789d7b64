#include "VideoCore/Phrases.h"

#include "TestSupport/Projects.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>
#include <sstream>

namespace orvo::test {
namespace {

using testing::ElementsAre;

/// A project in which the words of a text are spoken at this rate, with 0.7 s of silence at every "|".
VideoProject spoken(const std::string& text, double characterLength = 0.06)
{
    auto project = emptyProject(0);
    std::istringstream words(text);
    std::vector<TranscriptWord> list;
    double at = 0.5;
    for (std::string one; words >> one;) {
        if (one == "|") {
            at += 0.7;
            continue;
        }
        const double length = static_cast<double>(one.size()) * characterLength;
        list.push_back(word(one, at, at + length));
        at += length + 0.08;
    }
    project.edit.words = SharedList(std::move(list));
    project.duration = at + 1;
    return project;
}

std::vector<std::string> texts(const VideoProject& project)
{
    std::vector<std::string> result;
    for (const auto& phrase : Phrases::of(project)) {
        std::string text;
        for (const auto& line : phrase.lines)
            text += (text.empty() ? "" : "/") + line;
        result.push_back(text);
    }
    return result;
}

std::size_t characters(const std::string& text)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

TEST(PhrasesTests, EndsPhrasesAtSentencesGapsAndCommas)
{
    EXPECT_THAT(
        texts(spoken("Hola a todos. Hoy vamos a ver cómo se suman dos números muy grandes. | Empezamos por la derecha, "
                     "que es donde están las unidades del número.")),
        ElementsAre("Hola a todos.", "Hoy vamos a ver cómo se/suman dos números muy grandes.",
            "Empezamos por la derecha, que es/donde están las unidades del número."));
    EXPECT_THAT(texts(spoken("uno dos tres | cuatro")), ElementsAre("uno dos tres", "cuatro"));
    EXPECT_THAT(texts(spoken("")), ElementsAre());
}

TEST(PhrasesTests, FollowsTheCuts)
{
    auto project = spoken("esto sobra por completo | y esto se queda");
    const auto& words = project.edit.words;
    project.edit.cuts = {{0, words[4].start}};
    const auto phrases = Phrases::of(project);
    ASSERT_EQ(phrases.size(), 1U);
    EXPECT_THAT(phrases[0].lines, ElementsAre("y esto se queda"));
    EXPECT_NEAR(phrases[0].start, 0, 1e-9);
    // A cut in the middle of a word leaves its text once.
    project.edit.cuts = {{words[4].start + 0.01, words[4].start + 0.02}};
    EXPECT_THAT(texts(project), ElementsAre("esto sobra por completo", "y esto se queda"));
}

TEST(PhrasesTests, KeepsTheLimitsForRandomSpeech)
{
    std::mt19937 random(11);
    const auto pick = [&](int low, int high) { return std::uniform_int_distribution(low, high)(random); };
    for (int round = 0; round < 60; ++round) {
        std::string text;
        for (int i = pick(1, 200); i > 0; --i) {
            text += std::string(static_cast<std::size_t>(pick(1, 14)), static_cast<char>('a' + pick(0, 25)));
            text += pick(0, 9) == 0 ? ". " : pick(0, 7) == 0 ? ", " : " ";
            text += pick(0, 14) == 0 ? "| " : "";
        }
        auto project = spoken(text, pick(3, 12) / 100.0);
        for (int i = pick(0, 5); i > 0; --i) {
            const double start = pick(0, 1000) / 1000.0 * project.duration;
            project.edit.cuts.edit().push_back({start, start + pick(1, 300) / 100.0});
        }
        std::size_t left = 0;
        const Timeline::OutputMap map(project.duration, project.edit.cuts);
        for (const auto& word : project.edit.words) {
            const auto first = map.firstEndingAfter(word.start);
            left += first < map.kept().size() && map.kept()[first].start < word.end ? 1U : 0U;
        }
        std::size_t said = 0;
        double end = 0;
        for (const auto& phrase : Phrases::of(project)) {
            EXPECT_GE(phrase.start, end - 1e-9);
            EXPECT_GT(phrase.end, phrase.start);
            EXPECT_LE(phrase.end - phrase.start, Phrases::maxDuration + 1e-9);
            EXPECT_LE(phrase.end, project.playableDuration() + 1e-9);
            end = phrase.end;
            ASSERT_LE(phrase.lines.size(), Phrases::maxLines);
            for (const auto& line : phrase.lines) {
                EXPECT_LE(characters(line), Phrases::maxLineLength) << line;
                said += static_cast<std::size_t>(std::ranges::count(line, ' ')) + 1;
            }
        }
        EXPECT_EQ(said, left) << "every word occurs once";
    }
}

TEST(PhrasesTests, WritesSubtitleFiles)
{
    const auto project = spoken("<uno> dos.");
    const auto& words = project.edit.words;
    EXPECT_EQ(Phrases::subtitles(project, Timeline::SubtitleFormat::subRip),
        "1\n00:00:00,500 --> " + Timeline::stamp(std::max(words[1].end, 1.5), Timeline::SubtitleFormat::subRip)
            + "\n&lt;uno&gt; dos.\n\n");
    EXPECT_EQ(Phrases::subtitles(emptyProject(3), Timeline::SubtitleFormat::webVtt), "WEBVTT\n\n");
}

} // namespace
} // namespace orvo::test
