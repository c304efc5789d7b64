#include "OrvoVideo/transcription/SpeechRecognizer.h"

#include "OrvoVideo/transcription/Hesitations.h"
#include "OrvoVideo/transcription/SpeechActivity.h"
#include "OrvoVideo/transcription/SpeechChunks.h"
#include "OrvoVideo/transcription/WaveReader.h"
#include "OrvoVideo/transcription/WordAlignment.h"
#include "OrvoVideo/transcription/WordBoundaries.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <span>
#include <unordered_map>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;
using namespace speech;

namespace {

/// A prompt with hesitations, so that the recogniser transcribes them.
std::string promptFor(std::string_view language)
{
    return language == "es" ? "Eh, bueno, vamos a ver. Mmm, sí." : "Um, well, let us see. Mmm, yes.";
}

Loudness measure(WaveReader& wave, const std::stop_token& stop)
{
    constexpr std::size_t block = std::size_t{10} * sampleRate;
    LoudnessMeter meter;
    std::vector<float> samples;
    for (std::size_t at = 0; at < wave.size(); at += samples.size()) {
        if (stop.stop_requested())
            throw Cancelled();
        samples.resize(std::min(block, wave.size() - at));
        wave.read(at, samples);
        meter.add(samples);
    }
    return meter.result();
}

/// The stretches that contain a voice and are long enough for a word; drops breaths, key clicks and other noises.
std::vector<Frames> voicedOf(std::vector<Frames> stretches, WaveReader& wave)
{
    constexpr std::size_t minFrames = 10;
    constexpr std::size_t enough = 300; // This many frames of speech certainly contain a vowel.
    std::erase_if(stretches, [&](const Frames& stretch) {
        if (stretch.count() < minFrames)
            return true;
        const std::size_t begin = stretch.begin * frameSize;
        std::vector<float> samples(std::min(std::min(stretch.count(), enough) * frameSize, wave.size() - begin));
        wave.read(begin, samples);
        return !isVoiced(samples);
    });
    return stretches;
}

/// The recognition of one recording.
class Recognition {
public:
    Recognition(Whisper& whisper, std::string language, SpeechRecognizer::Decoding decoding, WaveReader& wave,
        const Loudness& loudness, std::stop_token stop)
        : m_whisper(whisper)
        , m_language(std::move(language))
        , m_decoding(decoding)
        , m_wave(wave)
        , m_loudness(loudness)
        , m_stop(std::move(stop))
    {
    }

    /// Adds the words of the next chunk.
    void add(const Chunk& chunk)
    {
        auto words = wordsIn(chunk);
        // Recognises stretches without words again, separately, as long as some of them get words.
        for (auto rest = withoutWords(chunk, words); !rest.empty();) {
            const Chunk next = std::move(rest.back());
            rest.pop_back();
            auto alone = wordsAloneIn(next);
            if (!alone.empty())
                std::ranges::move(withoutWords(next, alone), std::back_inserter(rest));
            std::ranges::move(alone, std::back_inserter(words));
        }
        std::ranges::stable_sort(words, {}, &TranscriptWord::start);
        std::ranges::move(words, std::back_inserter(m_words));
    }

    std::vector<TranscriptWord> take() { return std::move(m_words); }

    /// The probability of a word, 0..1.
    float probabilityOf(const TranscriptWord& word) const { return m_probabilities.at(word.id); }

private:
    std::vector<float> audioOf(const Chunk& chunk)
    {
        std::vector<float> samples(chunk.size());
        for (const auto& piece : chunk.pieces())
            m_wave.read(piece.from, std::span(samples).subspan(piece.at, piece.count));
        return samples;
    }

    Whisper::Answer heardIn(const Chunk& chunk, float temperature, std::span<const int> before)
    {
        constexpr int beams = 5;
        auto heard = m_whisper.recognise(audioOf(chunk),
            {.language = m_language,
                .prompt = promptFor(m_language),
                .before = before,
                .temperature = temperature,
                .beams = m_decoding == SpeechRecognizer::Decoding::careful ? beams : 1},
            m_stop);
        // Where the audio continues without a silence, a word belongs to the side on which it ends.
        constexpr double close = 0.03;
        const double begin = chunk.inChunk(chunk.speech().front().startSeconds()) + close;
        const double end = chunk.inChunk(chunk.speech().back().endSeconds()) + close;
        std::erase_if(heard.words, [&](const HeardWord& word) {
            return (chunk.goesOnBefore() && word.end <= begin) || (chunk.goesOnBehind() && word.end > end);
        });
        return heard;
    }

    std::vector<TranscriptWord> wordsIn(const Chunk& chunk)
    {
        std::vector<TranscriptWord> placed;
        // A loop yields more words than can be said in the time. Retries it at a higher temperature and without the
        // preceding words, which would keep the recogniser in the loop.
        for (const float temperature : {0.0F, 0.4F, 0.8F}) {
            const auto heard = heardIn(chunk, temperature, m_before);
            bool sayable = true;
            placed = placedIn(chunk, heard.words, sayable);
            const bool repeats = repeatsSentence(heard.words);
            const bool reliable = heard.complete && sayable && !repeats;
            const bool caught = repeats || (!reliable && repeatsItself(heard.words));
            if (!reliable)
                m_before.clear();
            else
                m_before.insert(m_before.end(), heard.tokens.begin(), heard.tokens.end());
            if (!caught)
                break;
        }
        return placed;
    }

    std::vector<TranscriptWord> wordsAloneIn(const Chunk& chunk)
    {
        constexpr float minProbability = 0.1F; // Below this mean probability, the words are invented from noise.
        // A single stretch is often a hesitation, which the recogniser would omit after the preceding words.
        const bool single = chunk.speech().size() == 1;
        const auto heard = heardIn(chunk, 0, single ? std::span<const int>() : m_before);
        float sum = 0;
        for (const auto& word : heard.words)
            sum += word.probability;
        bool sayable = true;
        auto placed = placedIn(chunk, heard.words, sayable);
        if ((!(heard.complete && sayable) && repeatsItself(heard.words))
            || sum < minProbability * static_cast<float>(heard.words.size()))
            placed.clear();
        return placed;
    }

    /// The stretches of a chunk without words; adjacent ones form one chunk.
    std::vector<Chunk> withoutWords(const Chunk& chunk, const std::vector<TranscriptWord>& words) const
    {
        std::vector<Chunk> result;
        std::vector<Frames> run;
        std::size_t before = chunk.room().begin; // End of the speech before the run.
        const auto end = [&](std::size_t after) {
            if (!run.empty())
                result.emplace_back(std::exchange(run, {}), Frames{.begin = before, .end = after}, m_wave.size());
        };
        for (const auto& stretch : chunk.speech()) {
            const bool spoken = std::ranges::any_of(words, [&](const TranscriptWord& word) {
                return word.start < stretch.endSeconds() && word.end > stretch.startSeconds();
            });
            if (spoken) {
                end(stretch.begin);
                before = stretch.end;
            } else {
                run.push_back(stretch);
            }
        }
        end(chunk.room().end);
        return result;
    }

    /// Places the words. Drops those that cannot be said in the time of their stretch and then sets `sayable` to false.
    std::vector<TranscriptWord> placedIn(const Chunk& chunk, std::vector<HeardWord> heard, bool& sayable)
    {
        std::vector<TimeSpan> stretches;
        for (const auto& stretch : chunk.speech())
            stretches.push_back(
                {.start = chunk.inChunk(stretch.startSeconds()), .end = chunk.inChunk(stretch.endSeconds())});
        const auto placed = place(std::move(heard), stretches);
        std::vector<TranscriptWord> result;
        for (auto first = placed.begin(); first != placed.end();) {
            const auto last =
                std::find_if(first, placed.end(), [&](const auto& word) { return word.stretch != first->stretch; });
            const TimeSpan& stretch = stretches[first->stretch];
            if (canBeSaid(first, last, stretch))
                append(chunk, first, last, result);
            else
                sayable = false;
            first = last;
        }
        return result;
    }

    using Placed = std::vector<PlacedWord>::const_iterator;

    static bool canBeSaid(Placed first, Placed last, const TimeSpan& stretch)
    {
        constexpr double minSecondsPerSyllable = 0.075; // Thirteen syllables per second.
        double needed = 0;
        for (auto word = first; word != last; ++word)
            needed += syllables(word->word.text) * minSecondsPerSyllable;
        return needed <= stretch.duration();
    }

    /// Adds the words of one stretch. If it contains only hesitations, adds one, in its usual spelling.
    void append(const Chunk& chunk, Placed first, Placed last, std::vector<TranscriptWord>& result)
    {
        const auto usual = asHesitation(first->word.text);
        const bool hesitates = !usual.empty() && std::all_of(first, last, [&](const PlacedWord& word) {
            return isSameHesitation(asHesitation(word.word.text), usual);
        });
        if (hesitates) {
            result.push_back({.text = usual,
                .start = chunk.inRecording(first->place.start),
                .end = chunk.inRecording(std::prev(last)->place.end)});
            m_probabilities[result.back().id] = 1; // The spelling does not come from the recogniser.
            return;
        }
        std::vector<WordStart> words;
        for (auto word = first; word != last; ++word)
            words.push_back({.text = word->word.text, .seconds = chunk.inRecording(word->place.start)});
        auto times = wordStarts(words, chunk.speech()[first->stretch], m_loudness);
        times.push_back(chunk.inRecording(std::prev(last)->place.end));
        for (auto word = first; word != last; ++word) {
            const auto i = static_cast<std::size_t>(word - first);
            result.push_back({.text = word->word.text, .start = times[i], .end = times[i + 1]});
            m_probabilities[result.back().id] = word->word.probability;
        }
    }

    Whisper& m_whisper;
    std::string m_language;
    SpeechRecognizer::Decoding m_decoding;
    WaveReader& m_wave;
    const Loudness& m_loudness;
    std::stop_token m_stop;
    std::vector<TranscriptWord> m_words;
    std::vector<int> m_before; ///< Tokens of the preceding words, if they are reliable.
    std::unordered_map<Uuid, float> m_probabilities; ///< Includes words that were placed and then dropped.
};

} // namespace

std::optional<std::string> SpeechRecognizer::supportedLanguage(std::string_view locale)
{
    if (locale == "es" || locale.starts_with("es-") || locale.starts_with("es_"))
        return "es";
    if (locale == "en" || locale.starts_with("en-") || locale.starts_with("en_"))
        return "en";
    return std::nullopt;
}

SpeechRecognizer::SpeechRecognizer(const fs::path& model, std::string language, Decoding decoding)
    : m_whisper(model)
    , m_language(std::move(language))
    , m_decoding(decoding)
{
}

std::vector<TranscriptWord> SpeechRecognizer::recognise(
    const fs::path& file, const ProgressCallback& progress, const std::stop_token& stop, std::vector<float>* probabilities)
{
    WaveReader wave(file);
    const Loudness loudness = measure(wave, stop);
    const auto chunks = makeChunks(voicedOf(findSpeech(loudness), wave), loudness, wave.size());

    Recognition recognition(m_whisper, m_language, m_decoding, wave, loudness, stop);
    const auto spoken = [](std::size_t sum, const Chunk& chunk) { return sum + chunk.size(); };
    const std::size_t all = std::accumulate(chunks.begin(), chunks.end(), std::size_t{0}, spoken);
    std::size_t done = 0;
    for (const auto& chunk : chunks) {
        recognition.add(chunk);
        done = spoken(done, chunk);
        if (progress)
            progress(static_cast<double>(done) / static_cast<double>(all));
    }
    auto words = recognition.take();
    if (probabilities) {
        probabilities->clear();
        for (const auto& word : words)
            probabilities->push_back(recognition.probabilityOf(word));
    }
    return words;
}

} // namespace orvo
