#include "CliFixture.h"
#include "VideoCore/Timeline.h"

#include <gmock/gmock.h>

namespace orvo::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// Ten seconds: two words, a filler, a long pause, a last word, and a click.
class Transcript : public CliFixture {
protected:
    Transcript()
    {
        project.edit.words = {word("Hola", 0.5, 1), word("<mundo>", 1, 1.5), word("Eh,", 1.6, 2), word("adiós", 6, 7)};
        project.edit.events = {pointer(PointerKind::click, 3, 0.25, 0.75)};
        store.save(project);
    }

    std::string wordId(std::size_t index) const { return project.edit.words[index].id.text(); }
};

TEST_F(Transcript, ListsAndCorrectsWords)
{
    answer({"cut", id, "5", "8"});
    const JsonAnswer words = answer({"words", id});
    ASSERT_EQ(words.size(), 4);
    EXPECT_EQ(words[0]["id"].text(), wordId(0));
    EXPECT_EQ(words[1]["text"].text(), "<mundo>");
    EXPECT_EQ(words[1]["start"].number(), 1);
    EXPECT_TRUE(words[2]["filler"].flag());
    EXPECT_TRUE(words[3]["cut"].flag());
    EXPECT_FALSE(words[0]["cut"].flag());

    EXPECT_EQ(orvo({"words", id, wordId(1), "¡Mundo!"}).status, 0);
    EXPECT_EQ(stored().edit.words[1].text, "¡Mundo!");
    const std::string before = document();
    EXPECT_EQ(orvo({"words", id, "FFFFFFFF", "x"}).status, 1);
    EXPECT_EQ(document(), before);

    // Cuts a word by its identifier.
    EXPECT_EQ(orvo({"cut", id, "--word", wordId(2)}).status, 0);
    EXPECT_THAT(stored().edit.cuts, ElementsAre(TimeSpan{1.6, 2}, TimeSpan{5, 8}));
}

TEST_F(Transcript, SelectsWordsByTimeAndText)
{
    struct Case {
        std::vector<std::string> options;
        std::vector<std::string> texts;
    };
    for (const auto& [options, texts] : {
             Case{{"--from", "1.2", "--to", "0:05"}, {"<mundo>", "Eh,"}},
             Case{{"--from", "6"}, {"adiós"}},
             Case{{"--grep", "HOLA mundo"}, {"Hola", "<mundo>"}},
             Case{{"--grep", "adios", "--to", "2"}, {}},
         }) {
        SCOPED_TRACE(options.back());
        std::vector<std::string> command{"words", id};
        command.insert(command.end(), options.begin(), options.end());
        const JsonAnswer words = answer(command);
        std::vector<std::string> found;
        for (std::size_t i = 0; i < words.size(); ++i)
            found.push_back(words[i]["text"].text());
        EXPECT_EQ(found, texts);
    }
    EXPECT_EQ(orvo({"words", id, "--from", "5", "--to", "2"}).status, 2);
    EXPECT_EQ(orvo({"words", id, wordId(0), "x", "--grep", "y"}).status, 2);
    EXPECT_THAT(orvo({"words", id, "--grep", "nada"}).err, HasSubstr("Ninguna palabra"));
}

TEST_F(Transcript, PrintsTheEditedText)
{
    answer({"cut", id, "1.6", "2"});
    EXPECT_EQ(orvo({"text", id}).out, "Hola <mundo> adiós\n");
    EXPECT_THAT(answer({"text", id, "--format", "md"})["text"].text(), HasSubstr("**00:00** Hola \\<mundo\\> adiós\n"));
    EXPECT_EQ(orvo({"text", id, "--format", "srt"}).status, 2);
    EXPECT_EQ(orvo({"text", id, "--x", "0.5"}).status, 2);
    EXPECT_EQ(orvo({"text", id, "1", "hola", "--format", "md"}).status, 2);
}

TEST_F(Transcript, WritesSubtitlesToOutputOrFile)
{
    answer({"cut", id, "0", "0.75"});
    const std::string subRip = Timeline::subtitles(stored(), Timeline::SubtitleFormat::subRip);
    const std::string webVtt = Timeline::subtitles(stored(), Timeline::SubtitleFormat::webVtt);
    EXPECT_EQ(orvo({"subtitles", id}).out, subRip);
    EXPECT_EQ(orvo({"subtitles", id, "-", "--format", "vtt"}).out, webVtt);
    EXPECT_EQ(answer({"subtitles", id})["text"].text(), subRip);

    EXPECT_EQ(orvo({"subtitles", id, folder / "a b.vtt"}).status, 0);
    EXPECT_EQ(readFile(folder / "a b.vtt"), webVtt);
    EXPECT_EQ(orvo({"subtitles", id, folder / "x.txt"}).status, 0);
    EXPECT_EQ(readFile(folder / "x.txt"), subRip);

    const std::string before = document();
    expectFailure({"subtitles", id, store.directory(project.id) / "project.json"}, 1, "está dentro de un proyecto");
    EXPECT_EQ(document(), before);
    EXPECT_EQ(orvo({"subtitles", id, folder / "no/x.srt"}).status, 1);
    EXPECT_EQ(orvo({"subtitles", id, folder.path()}).status, 1);
}

TEST_F(Transcript, AppliesSuggestionsOnceByNumber)
{
    const JsonAnswer proposed = answer({"suggest", id});
    ASSERT_EQ(proposed.size(), 4);
    EXPECT_EQ(proposed[0]["kind"].text(), "filler");
    EXPECT_EQ(proposed[1]["kind"].text(), "silence");
    EXPECT_EQ(proposed[1]["label"].text(), "Pausa larga");
    EXPECT_EQ(proposed[2]["label"].text(), "Pausa final");
    EXPECT_EQ(proposed[3]["zoom"]["x"].number(), 0.25);
    EXPECT_EQ(proposed[3]["number"].number(), 4);

    answer({"apply", id, "2"});
    EXPECT_THAT(stored().edit.cuts, ElementsAre(TimeSpan{2.2, 5.85}));
    const JsonAnswer again = answer({"suggest", id});
    EXPECT_EQ(again.size(), 4) << "keeps the numbers";
    EXPECT_TRUE(again[1]["applied"].flag());
    EXPECT_FALSE(again[0]["applied"].flag());

    answer({"apply", id, "--kind", "zoom", "--kind", "filler"});
    EXPECT_EQ(stored().edit.events.size(), 2);
    const JsonAnswer rest = answer({"apply", id, "--all"});
    EXPECT_EQ(rest["applied"].size(), 1);
    EXPECT_EQ(rest["applied"][0].number(), 3);
    const VideoProject finished = stored();
    EXPECT_EQ(answer({"apply", id, "--all"})["applied"].size(), 0);
    EXPECT_EQ(stored().edit, finished.edit);
    EXPECT_EQ(orvo({"apply", id, "5"}).status, 2);
    EXPECT_EQ(orvo({"apply", id, "0"}).status, 2);
}

} // namespace

} // namespace orvo::test
