#include "OrvoVideo/transcription/Whisper.h"

#include "OrvoVideo/transcription/SpeechActivity.h"
#include "VideoCore/Error.h"
#include "VideoMedia/ProcessRunner.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <format>
#include <fstream>
#include <ggml-backend.h>
#include <iterator>
#include <limits>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <utf8proc.h>
#include <whisper.h>

namespace orvo::speech {

namespace fs = std::filesystem;

namespace {

/// The header of a model file.
struct Header {
    static constexpr std::uint32_t ggml = 0x67676d6c;

    std::uint32_t magic = 0;
    std::int32_t vocabulary = 0;
    std::int32_t audioContext = 0, audioState = 0, audioHeads = 0, audioLayers = 0;
    std::int32_t textContext = 0, textState = 0, textHeads = 0, textLayers = 0;
    std::int32_t bands = 0, type = 0;
};

/// English-only models have one entry less.
constexpr std::int32_t vocabularyOfManyLanguages = 51'865;

std::optional<Header> readHeader(const fs::path& model)
{
    std::ifstream file(model, std::ios::binary);
    Header header;
    std::array<char, sizeof header> bytes{};
    if (!file.read(bytes.data(), bytes.size()))
        return std::nullopt;
    std::memcpy(&header, bytes.data(), bytes.size());
    if (header.magic != Header::ggml)
        return std::nullopt;
    return header;
}

/// The attention heads that follow the audio word by word; they differ between models.
whisper_alignment_heads_preset alignmentHeads(const Header& header)
{
    const auto has = [&](std::int32_t audio, std::int32_t text) {
        return header.audioLayers == audio && header.textLayers == text;
    };
    if (has(4, 4))
        return WHISPER_AHEADS_TINY;
    if (has(6, 6))
        return WHISPER_AHEADS_BASE;
    if (has(12, 12))
        return WHISPER_AHEADS_SMALL;
    if (has(24, 24))
        return WHISPER_AHEADS_MEDIUM;
    if (has(32, 4))
        return WHISPER_AHEADS_LARGE_V3_TURBO;
    if (has(32, 32) && header.vocabulary > vocabularyOfManyLanguages)
        return WHISPER_AHEADS_LARGE_V3;
    return WHISPER_AHEADS_N_TOP_MOST; // The upper half of the heads, for an unknown model.
}

/// Loads the computing library for this processor; a package has one for each generation. Does nothing in a build for this
/// machine alone, which links it.
void loadArithmetic()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const fs::path libraries = ProcessRunner::bundlePath() / "Contents" / "Frameworks";
        if (ggml_backend_dev_count() == 0)
            ggml_backend_load_all_from_path(libraries.c_str());
    });
    if (ggml_backend_dev_count() == 0)
        throw captureError("Falta una parte del reconocimiento de voz. Vuelve a instalar Orvo Video.");
}

void keepQuiet(ggml_log_level, const char*, void*) { }

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string trimmed(const std::string& text)
{
    const auto begin = std::ranges::find_if_not(text, isSpace);
    const auto end = std::find_if_not(text.rbegin(), text.rend(), isSpace).base();
    return begin < end ? std::string(begin, end) : std::string();
}

/// Removes invalid UTF-8: tokens are byte sequences and may end within a character.
std::string valid(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        utf8proc_int32_t point = 0;
        const auto length = utf8proc_iterate(
            reinterpret_cast<const utf8proc_uint8_t*>(text.data()), static_cast<utf8proc_ssize_t>(text.size()), &point);
        const std::size_t taken = length > 0 ? static_cast<std::size_t>(length) : 1;
        if (length > 0)
            result += text.substr(0, taken);
        text.remove_prefix(taken);
    }
    return result;
}

/// Whether a text has letters or digits. Non-ASCII characters count as letters, except opening punctuation.
bool isSpoken(const std::string& text)
{
    std::string_view rest = text;
    while (!rest.empty()) {
        if (rest.starts_with("¿") || rest.starts_with("¡") || rest.starts_with("«") || rest.starts_with("»")) {
            rest.remove_prefix(2);
            continue;
        }
        if (rest.starts_with("…") || rest.starts_with("—") || rest.starts_with("–") || rest.starts_with("♪")) {
            rest.remove_prefix(3);
            continue;
        }
        const auto c = static_cast<unsigned char>(rest.front());
        if (c >= 0x80 || std::isalnum(c) != 0)
            return true;
        rest.remove_prefix(1);
    }
    return false;
}

bool isDash(const std::string& text)
{
    return text == "-" || text == "–" || text == "—";
}

/// The number of encoder positions (20 ms each) for the audio of a quick recognition. Unused ones would cost time.
int attended(std::size_t samples)
{
    constexpr int maxPositions = 1'500;
    constexpr int minPositions = 640; // With fewer, the model adds invented words after the last.
    constexpr double silenceBehind = 2; // Seconds, for the same reason.
    constexpr double positionsPerSecond = 50;
    const double seconds = static_cast<double>(samples) / sampleRate + silenceBehind;
    return std::clamp(static_cast<int>(std::ceil(seconds * positionsPerSecond / 64)) * 64, minPositions, maxPositions);
}

/// The maximum number of tokens in the audio. A recogniser in a loop emits several hundred, each of which takes memory.
int sayable(std::size_t samples)
{
    constexpr std::size_t perSecond = 6; // Calm speech has three, fast speech five.
    constexpr std::size_t always = 16;
    return static_cast<int>(always + samples * perSecond / sampleRate);
}

/// The tokens that the recognition continues: the prompt, then the last tokens of the preceding speech.
std::vector<whisper_token> continued(whisper_context* context, const Whisper::Request& request)
{
    // The library takes 223. Each takes 0.4 MB and some time, and several hypotheses take memory of their own.
    const std::size_t maxTokens = request.beams > 1 ? 150 : 160;
    std::vector<whisper_token> result(maxTokens);
    const int count = whisper_tokenize(context, request.prompt.c_str(), result.data(), static_cast<int>(result.size()));
    result.resize(static_cast<std::size_t>(std::max(count, 0)));
    const auto said = request.before.last(std::min(request.before.size(), maxTokens - result.size()));
    result.insert(result.end(), said.begin(), said.end());
    return result;
}

/// Whether the tokens exceed calm speech and end with a repeated phrase.
bool isCaught(std::span<const whisper_token_data> parts, int sayable)
{
    constexpr std::size_t maxPhrase = 20; // Tokens.
    constexpr std::size_t minTimes = 3;
    constexpr std::size_t minParts = 12; // In total: a number may contain the same three digits more than once.
    if (3 * parts.size() <= 2 * static_cast<std::size_t>(sayable))
        return false;
    for (std::size_t length = 1; length <= maxPhrase; ++length) {
        const std::size_t looked = std::max(length * minTimes, minParts);
        if (looked > parts.size())
            return false;
        const auto end = parts.last(looked);
        if (std::ranges::equal(
                end.subspan(length), end.first(looked - length), {}, &whisper_token_data::id, &whisper_token_data::id))
            return true;
    }
    return false;
}

/// Stops a loop before it takes more time and memory. Called before each token, for several hypotheses at a time.
void endWhatIsCaught(
    whisper_context* context, whisper_state*, const whisper_token_data* parts, int count, float* logits, void* sayable)
{
    // Timestamps between the words hide a loop.
    std::vector<whisper_token_data> spoken;
    std::copy_if(parts, parts + count, std::back_inserter(spoken),
        [&](const auto& part) { return part.id < whisper_token_eot(context); });
    if (!isCaught(spoken, *static_cast<const int*>(sayable)))
        return;
    std::fill_n(logits, whisper_n_vocab(context), -std::numeric_limits<float>::infinity());
    logits[whisper_token_eot(context)] = 0;
}

} // namespace

void Whisper::Free::operator()(whisper_context* context) const
{
    whisper_free(context);
}

Whisper::Whisper(const fs::path& model)
    : m_threads(static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 8U)))
{
    whisper_log_set(keepQuiet, nullptr);
    loadArithmetic();
    constexpr int maxHeads = 20; // The library has 128 MB for the times of half a minute.
    constexpr std::uintmax_t minBytes = 15'000'000; // A smaller file would load and recognise nothing.
    const auto header = fs::file_size(model) >= minBytes ? readHeader(model) : std::nullopt;
    if (header && header->vocabulary < vocabularyOfManyLanguages)
        throw captureError(std::format("El modelo «{}» solo reconoce inglés.", model.filename().string()));
    if (header) {
        auto parameters = whisper_context_default_params();
        parameters.use_gpu = false;
        parameters.flash_attn = false; // It does not keep the weights from which the times come.
        parameters.dtw_token_timestamps = true;
        parameters.dtw_aheads_preset = alignmentHeads(*header);
        parameters.dtw_n_top = std::clamp(maxHeads / std::max(1, header->textHeads), 1, std::max(1, header->textLayers / 2));
        try {
            m_context.reset(whisper_init_from_file_with_params(model.c_str(), parameters));
        } catch (const std::exception&) {
            // Reported below, like any other unreadable model.
        }
    }
    if (!m_context) {
        throw captureError(std::format(
            "El modelo de voz «{}» está dañado o no es un modelo. Bórralo para que se descargue de nuevo.", model.string()));
    }
}

Whisper::~Whisper() = default;

Whisper::Answer Whisper::recognise(std::span<const float> samples, const Request& request, const std::stop_token& stop)
{
    const bool searches = request.beams > 1 && request.temperature == 0;
    auto parameters = whisper_full_default_params(searches ? WHISPER_SAMPLING_BEAM_SEARCH : WHISPER_SAMPLING_GREEDY);
    parameters.n_threads = m_threads;
    // With all positions, as in training, the model mishears less.
    parameters.audio_ctx = request.beams > 1 ? 0 : attended(samples.size());
    parameters.language = request.language.c_str();
    const auto before = continued(m_context.get(), request);
    parameters.prompt_tokens = before.data();
    parameters.prompt_n_tokens = static_cast<int>(before.size());
    parameters.no_context = true;
    parameters.print_progress = false;
    parameters.print_timestamps = false;
    parameters.suppress_nst = true;
    // The model was trained with timestamps and mishears more without them, although ours come from the attention.
    parameters.no_timestamps = false;
    parameters.single_segment = true;
    parameters.max_tokens = sayable(samples.size());
    parameters.logits_filter_callback = endWhatIsCaught;
    parameters.logits_filter_callback_user_data = &parameters.max_tokens;
    parameters.temperature = request.temperature;
    parameters.temperature_inc = 0; // The caller decides about a retry.
    parameters.greedy.best_of = 1;
    parameters.beam_search.beam_size = request.beams;
    std::stop_token stopToken = stop; // The library takes a non-const pointer.
    parameters.abort_callback = [](void* token) { return static_cast<const std::stop_token*>(token)->stop_requested(); };
    parameters.abort_callback_user_data = &stopToken;

    std::vector<float> padded;
    if (samples.size() < sampleRate) {
        // The alignment aborts the program for less than a few frames of audio.
        padded.assign(samples.begin(), samples.end());
        padded.resize(sampleRate, 0);
        samples = padded;
    }
    const int status = whisper_full(m_context.get(), parameters, samples.data(), static_cast<int>(samples.size()));
    if (stop.stop_requested())
        throw Cancelled();
    if (status != 0)
        throw captureError("El reconocimiento de voz ha fallado.");

    std::vector<HeardWord> words;
    std::vector<whisper_token_data> parts;
    double certainty = 0;
    int written = 0; // Includes timestamps.
    const whisper_token firstSpecial = whisper_token_eot(m_context.get()); // The end of the answer.
    for (int segment = 0; segment < whisper_full_n_segments(m_context.get()); ++segment) {
        for (int token = 0; token < whisper_full_n_tokens(m_context.get(), segment); ++token) {
            const auto data = whisper_full_get_token_data(m_context.get(), segment, token);
            if (data.id != firstSpecial)
                ++written;
            if (data.id >= firstSpecial)
                continue;
            parts.push_back(data);
            certainty += static_cast<double>(data.plog);
            const std::string text = whisper_full_get_token_text(m_context.get(), segment, token);
            // A segment continues a word only after an apostrophe or similar.
            if (words.empty() || text.starts_with(' '))
                words.push_back({.probability = 1});
            words.back().text += text;
            // The attention moves on when a token has been spoken; punctuation is not spoken.
            if (isSpoken(text)) {
                words.back().end = static_cast<double>(data.t_dtw) / 100;
                words.back().probability = std::min(words.back().probability, data.p);
            }
        }
    }

    // Separate punctuation belongs to the word before it.
    Answer result;
    std::ranges::transform(parts, std::back_inserter(result.tokens), &whisper_token_data::id);
    for (auto& word : words) {
        word.text = trimmed(valid(word.text));
        if (isSpoken(word.text))
            result.words.push_back(std::move(word));
        else if (!result.words.empty() && !isDash(word.text))
            result.words.back().text += word.text;
    }
    if (!parts.empty())
        result.certainty = certainty / static_cast<double>(parts.size());
    result.complete = written <= parameters.max_tokens && !isCaught(parts, parameters.max_tokens);
    return result;
}

} // namespace orvo::speech
