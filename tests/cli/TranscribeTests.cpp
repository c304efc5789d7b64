#include "CliFixture.h"
#include "TestSupport/Media.h"
#include "TestSupport/Speech.h"
#include "VideoCore/WordConfidence.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// A spoken lesson: two sentences, a hesitation between long pauses, and a third sentence.
class Transcribe : public CliFixture {
protected:
    Transcribe()
    {
        const auto media = store.directory(project.id) / "media";
        said = makeSpeech(media / "microphone.m4a",
            {{"Hoy vamos a ver la tabla de los resultados.", 0.4}, {"Eh", 5.5}, {"Después guardamos el documento.", 8.0},
                {"La respuesta correcta es la segunda.", 12.5}},
            16, {"-ar", "48000", "-c:a", "aac"});
        makeVideo(media / "screen.mov", "testsrc2=size=64x36:rate=30:duration=16");
        project.duration = 16;
        project.edit.normalizeVoice = false;
        project.edit.noiseReduction = false;
        project.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 16),
            track(TrackKind::microphone, "media/microphone.m4a", 0, 16)};
        store.save(project);
    }

    bool hasWorkFile() const { return fs::exists(store.directory(project.id) / "transcription.wav"); }

    static std::string lower(std::string text)
    {
        std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        std::erase_if(text, [](char c) { return c == '.' || c == ','; });
        return text;
    }

    static std::vector<std::string> wordsOf(const VideoProject& from)
    {
        std::vector<std::string> words;
        for (const auto& word : from.edit.words)
            words.push_back(lower(word.text));
        return words;
    }

    std::vector<Said> said;
};

TEST_F(Transcribe, RemovesOnlySuggestedSpans)
{
    const auto transcribed = answer({"transcribe", id});
    const auto before = stored();
    EXPECT_EQ(transcribed["words"].number(), static_cast<double>(before.edit.words.size()));
    EXPECT_FALSE(hasWorkFile());
    const auto confidence = WordConfidence::read(store.directory(project.id));
    EXPECT_TRUE(std::ranges::any_of(before.edit.words, [&](const auto& word) { return confidence.of(word) < 1; }))
        << "some words of a synthetic voice are uncertain";
    auto words = wordsOf(before);
    EXPECT_THAT(words, testing::IsSupersetOf({"tabla", "resultados", "eh", "guardamos", "documento"}));

    // Suggests the hesitation, the pauses around it, and the pause before the last sentence.
    const auto suggestions = answer({"suggest", id});
    ASSERT_EQ(suggestions.size(), 4U);
    EXPECT_EQ(suggestions[1]["kind"].text(), "filler");
    EXPECT_NEAR(suggestions[1]["start"].number(), said[1].start, 0.05);
    EXPECT_NEAR(suggestions[1]["end"].number(), said[1].end, 0.05);
    EXPECT_EQ(orvo({"apply", id, "--all"}).status, 0);

    const auto movie = folder / "result.mp4";
    ASSERT_EQ(orvo({"export", id, movie}).status, 0);
    const auto edited = stored();
    EXPECT_NEAR(probe(movie).audioDuration, edited.playableDuration(), 0.05);

    // Every sentence keeps its level from its first to its last tenth of a second.
    const auto samples = decodeAudio(movie);
    const auto original = decodeAudio(store.directory(project.id) / "media/microphone.m4a");
    double removed = 0;
    std::size_t cut = 0;
    const auto cuts = edited.edit.cuts.items();
    std::vector<TimeSpan> ordered(cuts.begin(), cuts.end());
    std::ranges::sort(ordered, {}, &TimeSpan::start);
    for (const std::size_t sentence : {0U, 2U, 3U}) {
        for (; cut < ordered.size() && ordered[cut].end <= said[sentence].start; ++cut)
            removed += ordered[cut].duration();
        for (const double at : {said[sentence].start, said[sentence].end - 0.1})
            EXPECT_NEAR(level(samples, at - removed, at - removed + 0.1) / level(original, at, at + 0.1), 1, 0.3)
                << sentence;
    }

    // A second transcription has the same words without the hesitation. A word may differ on some processors, because the
    // audio is encoded again.
    const auto again = answer({"import", movie})["id"].text();
    ASSERT_EQ(orvo({"transcribe", again}).status, 0);
    auto left = wordsOf(store.load(*Uuid::parse(again)));
    EXPECT_THAT(left, testing::Not(testing::Contains("eh")));
    EXPECT_NEAR(static_cast<double>(left.size()), static_cast<double>(words.size() - 1), 1);
    std::ranges::sort(words);
    std::ranges::sort(left);
    std::vector<std::string> same;
    std::ranges::set_intersection(words, left, std::back_inserter(same));
    EXPECT_GE(same.size(), words.size() - 3) << testing::PrintToString(words) << testing::PrintToString(left);
    EXPECT_EQ(answer({"suggest", again}).size(), 0U);
}

TEST_F(Transcribe, RejectsInvalidInputWithoutChanges)
{
    const std::string before = document();
    const auto refused = [&](std::vector<std::string> more, int status, const std::string& text) {
        more.insert(more.begin(), {"transcribe", id});
        const auto outcome = orvo(more);
        EXPECT_EQ(outcome.status, status);
        EXPECT_THAT(outcome.err, HasSubstr(text));
        EXPECT_EQ(document(), before);
        EXPECT_FALSE(hasWorkFile());
    };
    refused({"--language", "fr-FR"}, 2, "No existe el idioma «fr-FR»");
    refused({"--model", "enorme"}, 1, "No existe el modelo de voz «enorme»");
    std::ofstream(folder / "ggml-roto.bin") << "no es un modelo";
    setup.environment["ORVO_MODELS"] = folder.path();
    refused({"--model", "roto"}, 1, "ggml-roto.bin» está dañado o no es un modelo. Bórralo");
    setup.maxFile = 100'000;
    refused({}, 1, "El proceso de vídeo falló: ");
}

TEST_F(Transcribe, ChangesNothingWhenInterrupted)
{
    const std::string before = document();
    Program program({"transcribe", id}, [&] {
        auto terminal = setup;
        terminal.errorTerminal = true;
        return terminal;
    }());
    ASSERT_TRUE(program.waitForError("Transcribiendo"));
    program.signal(SIGINT);
    EXPECT_NE(program.end().status, 0);
    EXPECT_EQ(document(), before);
    EXPECT_FALSE(hasWorkFile());
}

} // namespace

} // namespace orvo::test
