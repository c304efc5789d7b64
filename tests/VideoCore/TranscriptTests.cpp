#include "VideoCore/Transcript.h"

#include "TestSupport/Projects.h"
#include "VideoCore/Edits.h"
#include "VideoCore/TextSearch.h"
#include "VideoCore/Timeline.h"

#include <gmock/gmock.h>
#include <random>
#include <sstream>

namespace orvo {
namespace {

using test::emptyProject;
using test::word;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Transcript::WordRange;

/// Words of half a second, one after the other; "|" is a second without speech.
std::vector<TranscriptWord> spoken(const std::string& text)
{
    std::vector<TranscriptWord> words;
    std::istringstream stream(text);
    double time = 0;
    for (std::string next; stream >> next; time += next == "|" ? 1 : 0.5) {
        if (next != "|")
            words.push_back(word(next, time, time + 0.5));
    }
    return words;
}

std::vector<std::string> textsOf(std::span<const TranscriptWord> words)
{
    std::vector<std::string> texts;
    for (const auto& each : words)
        texts.push_back(each.text);
    return texts;
}

TEST(Transcript, BreaksParagraphsBehindSentencesWithAPause)
{
    EXPECT_THAT(Transcript::paragraphs(spoken("Hola. | Bien | sí, | «vale.» | ¿Y? Pues | no")),
        ElementsAre(WordRange{0, 1}, WordRange{1, 4}, WordRange{4, 7}));
    EXPECT_TRUE(Transcript::paragraphs({}).empty());

    // A long paragraph ends with a sentence; without sentences at a pause, at a comma, or at the limit.
    struct Case {
        std::string unit;
        std::size_t size;
    };
    for (const auto& [unit, size] : {Case{"uno dos tres. ", 42}, Case{"uno dos tres cuatro, ", 60}, Case{"uno ", 80},
             Case{"uno dos tres cuatro cinco seis siete | ", 42}}) {
        SCOPED_TRACE(unit);
        std::string text;
        for (int i = 0; i < 100; ++i)
            text += unit;
        EXPECT_EQ(Transcript::paragraphs(spoken(text)).front(), (WordRange{0, size}));
    }
}

TEST(Transcript, PutsEveryWordIntoOneParagraphAndSentence)
{
    std::mt19937_64 random(7);
    for (int round = 0; round < 300; ++round) {
        const auto project = test::randomProject(random);
        auto words = project.edit.words.items();
        for (auto& each : words)
            each.text += std::array{"", ".", ",", "?»", "…"}[random() % 5];
        const auto paragraphs = Transcript::paragraphs(words);
        std::size_t next = 0;
        for (const auto& paragraph : paragraphs) {
            ASSERT_EQ(paragraph.first, next);
            ASSERT_GT(paragraph.end, paragraph.first);
            ASSERT_LE(paragraph.size(), Transcript::maxParagraphWords);
            for (std::size_t at = next; at < paragraph.end;) {
                const auto sentence = Transcript::sentenceAt(words, paragraph, at);
                ASSERT_EQ(sentence.first, at);
                ASSERT_GT(sentence.end, at);
                ASSERT_EQ(Transcript::sentenceAt(words, paragraph, sentence.end - 1), sentence);
                at = sentence.end;
                ASSERT_LE(at, paragraph.end);
            }
            next = paragraph.end;
        }
        ASSERT_EQ(next, words.size());
    }
}

TEST(Transcript, WritesTheRemainingWordsAsText)
{
    auto project = emptyProject(20);
    project.title = "Clase_1";
    project.edit.words = SharedList(spoken("Hola a *todos*. | Eh empezamos. | Adiós."));
    project.edit.cuts = {{2.5, 3}}; // "Eh"
    EXPECT_EQ(Transcript::text(project, Transcript::TextFormat::plain), "Hola a *todos*.\n\nempezamos.\n\nAdiós.\n");
    EXPECT_EQ(Transcript::text(project, Transcript::TextFormat::markdown),
        "# Clase\\_1\n\n**00:00** Hola a \\*todos\\*.\n\n**00:02** empezamos.\n\n**00:04** Adiós.\n");
    EXPECT_EQ(Transcript::text(emptyProject(5), Transcript::TextFormat::markdown), "");
}

TEST(Transcript, FindsTextIgnoringCaseAccentsAndPunctuation)
{
    const auto words = spoken("Hola, ¡MUNDO! La función dos palabras Straße adiós");
    auto several = words;
    several[4].text = "dos palabras"; // A correction.
    const TextSearch search(several);
    struct Case {
        std::string query;
        std::vector<TextSearch::Hit> hits;
    };
    for (const auto& [query, hits] : {
             Case{"hola mundo", {{0, 0, 1, 7}}},
             Case{"  FUNCION ", {{3, 0, 3, 8}}},
             Case{"ción dos pal", {{3, 3, 4, 7}}},
             Case{"palabras palabras", {{4, 4, 5, 8}}},
             Case{"strasse", {{6, 0, 6, 7}}},
             Case{"holamundo", {}},
             Case{"adiós a", {}},
             Case{" ", {}},
         }) {
        SCOPED_TRACE(query);
        EXPECT_THAT(search.find(query), ElementsAreArray(hits));
    }
    EXPECT_EQ(search.find("a").size(), 10) << "several hits in one word";
}

TEST(TranscriptEdits, ReplacesFoundText)
{
    struct Case {
        std::string text;
        std::string query;
        std::string replacement;
        std::vector<std::string> words;
        std::size_t count;
    };
    for (const auto& [text, query, replacement, words, count] : {
             Case{"la Plaza, la plaza", "plaza", "casa", {"la", "casa,", "la", "casa"}, 2},
             Case{"uso or vo vídeo. Or, vo", "or vo", "Orvo", {"uso", "Orvo", "vídeo.", "Orvo"}, 2},
             Case{"un eperímetro", "eperimetro", "perímetro del círculo", {"un", "perímetro del círculo"}, 1},
             Case{"uno dos tres", "uno dos", "1 2", {"1", "2", "tres"}, 1},
             Case{"banana nana", "an", "o", {"booa", "noa"}, 3},
             Case{"ab ab ab", "b a", "-", {"a--b"}, 2},
             Case{"hola", "hola", "  ", {"hola"}, 0},
         }) {
        SCOPED_TRACE(text);
        auto project = emptyProject(30);
        project.edit.words = SharedList(spoken(text));
        const auto before = project.edit.words.items();
        const auto hits = TextSearch(before).find(query);
        EXPECT_EQ(Edits::replaceText(project, hits, replacement), count);
        EXPECT_THAT(textsOf(project.edit.words), ElementsAreArray(words));
        EXPECT_EQ(project.edit.words.front().start, before.front().start);
        EXPECT_EQ(project.edit.words.back().end, before.back().end);
    }
}

TEST(TranscriptEdits, RestoresExactlyTheWordsThatWereCut)
{
    std::mt19937_64 random(3);
    auto project = emptyProject(60);
    project.edit.words = SharedList(spoken("uno dos tres | cuatro cinco | | seis siete ocho nueve diez"));
    for (int round = 0; round < 200; ++round) {
        const auto first = random() % 9;
        const WordRange range{first, first + 1 + random() % (10 - first)};
        const TimeSpan span = Edits::spanOf(project.edit.words, range);
        Edits::cut(project, span);
        const auto cuts = project.edit.cuts;
        auto restored = project;
        Edits::restorePart(restored, span);
        const auto merged = Timeline::merged(restored.edit.cuts, 60);
        for (std::size_t i = 0; i < 10; ++i) {
            const auto& each = project.edit.words[i];
            const bool isInside = i >= range.first && i < range.end;
            EXPECT_EQ(Transcript::isCut(each, merged, 60), !isInside && Transcript::isCut(each, cuts.items(), 60)) << i;
        }
        if (round % 3 == 0)
            project = restored;
    }
    // Remainders too short to hear or find are restored too.
    project.edit.cuts = {{0.9, 1.6}, {40, 41}};
    Edits::restorePart(project, {1, 1.5});
    EXPECT_THAT(project.edit.cuts, ElementsAre(TimeSpan{40, 41}));
    const auto untouched = project.edit.cuts;
    Edits::restorePart(project, {2, 3});
    EXPECT_TRUE(project.edit.cuts.sharesStorageWith(untouched));
}

TEST(TranscriptEdits, ReportsByHowMuchItShortensPauses)
{
    auto project = emptyProject(20);
    project.edit.words = SharedList(spoken("uno | | dos | tres cuatro | | | eh, Eh"));
    project.edit.cuts = {{0.5, 2.3}}; // Leaves 0.2 s of the first pause.
    const double before = project.playableDuration();
    const auto pauses = Transcript::pauses(project.edit.words, project.duration);
    EXPECT_EQ(pauses.size(), 4) << "the last pause is at the end";
    EXPECT_EQ(pauses.back(), (Transcript::Pause{6, {9, 20}}));

    auto some = project;
    const auto longest = Edits::shortenPauses(some, 2);
    EXPECT_EQ(longest.count, 2);
    const auto all = Edits::shortenPauses(project, 0.5);
    EXPECT_EQ(all.count, 3);
    EXPECT_NEAR(before - project.playableDuration(), all.seconds, 1e-9);
    for (const auto& pause : pauses)
        EXPECT_LE(Transcript::remaining(pause.span, project.edit.cuts.items()), Edits::shortenedPause + 1e-9);
    const auto shortened = project.edit;
    EXPECT_EQ(Edits::shortenPauses(project, 0.1).count, 0) << "shortened pauses stay as they are";
    EXPECT_EQ(project.edit, shortened);

    EXPECT_EQ(Edits::cutFillers(project), 2);
    EXPECT_NEAR(Transcript::remaining({8, 9}, project.edit.cuts.items()), 0, 1e-9);
    EXPECT_EQ(Edits::cutFillers(project), 0);
}

} // namespace
} // namespace orvo
