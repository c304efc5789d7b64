#include "OrvoVideo/transcription/SpeechRecognizer.h"

#include "OrvoVideo/transcription/SpeechModels.h"
#include "OrvoVideo/transcription/WaveReader.h"
#include "OrvoVideo/transcription/Whisper.h"
#include "TestSupport/Failure.h"
#include "TestSupport/Media.h"
#include "TestSupport/Speech.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Suggestions.h"

#include <algorithm>
#include <format>
#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

class SpeechRecognizerTest : public testing::Test {
protected:
    static SpeechRecognizer recognizer(SpeechRecognizer::Decoding decoding = SpeechRecognizer::Decoding::quick)
    {
        return {SpeechModels::require(SpeechModels::usual), "es", decoding};
    }

    fs::path audio(const std::string& source)
    {
        const auto file = folder / "audio.wav";
        ffmpeg({"-f", "lavfi", "-i", source, "-ac", "1", "-ar", "16000", file.string()});
        return file;
    }

    static std::string textOf(const std::vector<TranscriptWord>& words)
    {
        std::string text;
        for (const auto& word : words)
            text += word.text + " ";
        return text;
    }

    TemporaryFolder folder;
};

TEST_F(SpeechRecognizerTest, PlacesWordsWhereTheyAreSpoken)
{
    const auto file = folder / "speech.wav";
    const auto said = makeSpeech(file,
        {{"Hoy vamos a ver la tabla de los resultados.", 1.0}, {"Eh", 6.5}, {"Después guardamos el documento.", 8.2},
            {"La respuesta correcta es la segunda.", 11.4}},
        16);
    for (const auto decoding : {SpeechRecognizer::Decoding::quick, SpeechRecognizer::Decoding::careful}) {
        std::vector<double> progress;
        std::vector<float> probabilities;
        const auto words =
            recognizer(decoding).recognise(file, [&](double share) { progress.push_back(share); }, {}, &probabilities);
        EXPECT_EQ(probabilities.size(), words.size());
        EXPECT_TRUE(std::ranges::all_of(probabilities, [](float value) { return value > 0 && value <= 1; }));
        SCOPED_TRACE(textOf(words));
        EXPECT_THAT(textOf(words), HasSubstr("resultados"));
        EXPECT_THAT(textOf(words), HasSubstr("documento"));
        EXPECT_THAT(textOf(words), HasSubstr("segunda"));
        EXPECT_DOUBLE_EQ(progress.back(), 1);

        // Every stretch begins and ends with a word, and no word lies between two stretches.
        for (const auto& stretch : said) {
            const auto near = [](double one, double other) { return std::abs(one - other) < 0.06; };
            EXPECT_TRUE(std::ranges::any_of(words, [&](const auto& word) { return near(word.start, stretch.start); }));
            EXPECT_TRUE(std::ranges::any_of(words, [&](const auto& word) { return near(word.end, stretch.end); }));
        }
        double last = 0;
        for (const auto& word : words) {
            EXPECT_GE(word.start, last);
            EXPECT_LT(word.start, word.end);
            EXPECT_TRUE(std::ranges::any_of(said, [&](const auto& stretch) {
                return word.start > stretch.start - 0.06 && word.end < stretch.end + 0.06;
            })) << word.text;
            last = word.end;
        }

        // The editor suggests cutting the pauses and the hesitation.
        auto project = VideoProject::make("Clase");
        project.duration = 16;
        project.edit.words = SharedList(words);
        int pauses = 0;
        int fillers = 0;
        for (const auto& suggestion : Suggestions::generate(project)) {
            pauses += suggestion.kind == SuggestionKind::silence ? 1 : 0;
            fillers += suggestion.kind == SuggestionKind::filler ? 1 : 0;
        }
        EXPECT_EQ(pauses, 3); // Before and after the hesitation, and at the end.
        EXPECT_EQ(fillers, 1);
    }
}

TEST_F(SpeechRecognizerTest, PlacesWordsAlikeWithAndWithoutContext)
{
    const auto file = folder / "speech.wav";
    makeSpeech(file, {{"Hoy vamos a ver la tabla de los resultados.", 1.0}}, 5);
    speech::WaveReader wave(file);
    std::vector<float> samples(wave.size());
    wave.read(0, samples);
    speech::Whisper whisper(SpeechModels::require(SpeechModels::usual));
    const auto heard = [&](std::span<const int> before, int beams) {
        return whisper.recognise(
            samples, {.language = "es", .prompt = "Bueno, vamos a ver.", .before = before, .beams = beams}, {});
    };
    const auto first = heard({}, 1);
    for (const auto& answer : {first, heard(first.tokens, 1), heard(first.tokens, 5)}) {
        EXPECT_FALSE(answer.tokens.empty());
        EXPECT_TRUE(answer.complete);
        EXPECT_GT(answer.certainty, -1);
        EXPECT_LT(answer.certainty, 0);
        // Results differ between processors: a word may change or move by some tenths of a second.
        std::vector<double> shifts;
        for (const auto& word : answer.words) {
            const auto same = std::ranges::find(first.words, word.text, &speech::HeardWord::text);
            if (same != first.words.end())
                shifts.push_back(word.end - same->end);
        }
        ASSERT_GE(shifts.size(), 4U);
        std::ranges::sort(shifts);
        EXPECT_NEAR(shifts[shifts.size() / 2], 0, 0.15);
    }
    // More tokens than the recogniser takes are truncated.
    std::vector<int> much;
    for (int i = 0; i < 50; ++i)
        much.insert(much.end(), first.tokens.begin(), first.tokens.end());
    EXPECT_NO_THROW(heard(much, 1));
}

TEST_F(SpeechRecognizerTest, ReturnsNoWordsForNoise)
{
    auto recogniser = recognizer();
    for (const auto* source :
        {"anullsrc=r=16000:cl=mono:d=20", "sine=440:d=20", "anoisesrc=c=pink:a=0.2:d=20", "anoisesrc=c=white:a=0.02:d=20",
            "aevalsrc='0.2*(sin(2*PI*220*t)+sin(2*PI*277*t)+sin(2*PI*330*t))*(0.6+0.4*exp(-6*mod(t,0.5)))':d=20"}) {
        const auto words = recogniser.recognise(audio(source));
        EXPECT_THAT(words, IsEmpty()) << source << ": " << textOf(words);
    }
    // Breaths and keys: noise that swells, and clicks.
    for (const auto* source : {"aevalsrc='0.1*(random(0)-0.5)*pow(max(0,sin(2*PI*t/2.5)),2)':d=20:s=16000",
             "aevalsrc='0.8*(random(0)-0.5)*lt(mod(t,0.7),0.004)+0.0005*(random(1)-0.5)':d=20:s=16000"}) {
        const auto words = recogniser.recognise(audio(source));
        EXPECT_THAT(words, IsEmpty()) << source << ": " << textOf(words);
    }
    for (const double seconds : {0.01, 0.05, 0.12, 0.16, 0.3})
        recogniser.recognise(audio(std::format("aevalsrc='0.3*sin(2*PI*200*t)':s=16000:d={}", seconds)));
}

TEST_F(SpeechRecognizerTest, KeepsPhrasesThatAreReallyRepeated)
{
    const auto file = folder / "speech.wav";
    makeSpeech(file, {{"Uno, dos, tres.", 0.5}, {"Uno, dos, tres.", 2.5}, {"Uno, dos, tres.", 4.5}}, 6.5);
    const auto words = recognizer().recognise(file);
    EXPECT_EQ(words.size(), 9U) << textOf(words);
}

TEST_F(SpeechRecognizerTest, ReportsDamagedModelsAndFiles)
{
    // A truncated model, and text files in place of a model and of audio.
    const auto model = folder / "ggml-base.bin";
    fs::copy_file(SpeechModels::require(SpeechModels::usual), model);
    fs::resize_file(model, fs::file_size(model) / 3);
    EXPECT_THAT(failureOf([&] { SpeechRecognizer(model, "es", {}); }), HasSubstr("ggml-base.bin» está dañado"));
    std::ofstream(folder / "text.bin") << "no es un modelo";
    EXPECT_THAT(
        failureOf([&] { SpeechRecognizer(folder / "text.bin", "es", {}); }), HasSubstr("está dañado o no es un modelo"));
    std::ofstream(folder / "text.wav") << "no es un sonido";
    EXPECT_THAT(failureOf([&] { recognizer().recognise(folder / "text.wav"); }), HasSubstr("no se puede leer"));
    EXPECT_THROW(recognizer().recognise(folder / "nothing.wav"), fs::filesystem_error);

    EXPECT_EQ(SpeechRecognizer::supportedLanguage("es-ES"), "es");
    EXPECT_EQ(SpeechRecognizer::supportedLanguage("en-US"), "en");
    EXPECT_EQ(SpeechRecognizer::supportedLanguage("eo"), std::nullopt);
}

} // namespace

} // namespace orvo::test
