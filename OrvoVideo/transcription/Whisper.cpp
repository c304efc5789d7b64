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

/// What the beginning of a model file says.
struct Header {
    static constexpr std::uint32_t ggml = 0x67676d6c;

    std::uint32_t magic = 0;
    std::int32_t vocabulary = 0;
    std::int32_t audioContext = 0, audioState = 0, audioHeads = 0, audioLayers = 0;
    std::int32_t textContext = 0, textState = 0, textHeads = 0, textLayers = 0;
    std::int32_t bands = 0, type = 0;
};

/// Models of one language have one entry less.
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

/// The attention heads that follow the sound word by word, which differ between the models.
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
    return WHISPER_AHEADS_N_TOP_MOST; // Those of the upper half, for a model that is not known.
}

/// A package has one library of arithmetic for each generation of processors: loads the best that runs here. A build for
/// this machine alone has the arithmetic linked.
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

/// A text without bytes that are no UTF-8: the parts of a word are pieces of bytes, and the last of a letter may be missing.
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

/// Whether there is a letter or a digit in a word; bytes beyond ASCII count as letters, but for the opening marks.
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

/// How many of the model's positions, of 20 ms each, a sound needs: what is not attended to costs neither time nor memory.
int attended(std::size_t samples)
{
    constexpr int all = 1'500;
    constexpr int fewest = 640; // With less it makes up words behind the last.
    constexpr double silenceBehind = 2; // Seconds, for the same reason.
    constexpr double positionsPerSecond = 50;
    const double seconds = static_cast<double>(samples) / sampleRate + silenceBehind;
    return std::clamp(static_cast<int>(std::ceil(seconds * positionsPerSecond / 64)) * 64, fewest, all);
}

/// How many parts of words can be said in a sound: a recogniser that is caught in a phrase goes on to several hundred, and
/// takes memory for each.
int sayable(std::size_t samples)
{
    constexpr std::size_t perSecond = 6; // Calm speech has three, fast speech five.
    constexpr std::size_t always = 16;
    return static_cast<int>(always + samples * perSecond / sampleRate);
}

/// Whether what was recognised is more than calm speech has and ends with the same phrase over and over.
bool isCaught(std::span<const whisper_token_data> parts, int sayable)
{
    constexpr std::size_t longestPhrase = 20; // Parts.
    constexpr std::size_t fewestTimes = 3;
    constexpr std::size_t fewestParts = 12; // In all: a number has the same three digits more than once.
    if (3 * parts.size() <= 2 * static_cast<std::size_t>(sayable))
        return false;
    for (std::size_t length = 1; length <= longestPhrase; ++length) {
        const std::size_t looked = std::max(length * fewestTimes, fewestParts);
        if (looked > parts.size())
            return false;
        const auto end = parts.last(looked);
        if (std::ranges::equal(
                end.subspan(length), end.first(looked - length), {}, &whisper_token_data::id, &whisper_token_data::id))
            return true;
    }
    return false;
}

/// Ends what is caught, before it takes more time and memory; called before each part is chosen.
void endWhatIsCaught(
    whisper_context* context, whisper_state*, const whisper_token_data* parts, int count, float* logits, void* sayable)
{
    if (!isCaught({parts, static_cast<std::size_t>(count)}, *static_cast<const int*>(sayable)))
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
    constexpr std::uintmax_t smallest = 15'000'000; // Bytes: what is less would be loaded and recognise nothing.
    const auto header = fs::file_size(model) >= smallest ? readHeader(model) : std::nullopt;
    if (header && header->vocabulary < vocabularyOfManyLanguages)
        throw captureError(std::format("El modelo «{}» solo reconoce inglés.", model.filename().string()));
    if (header) {
        auto parameters = whisper_context_default_params();
        parameters.use_gpu = false;
        parameters.flash_attn = false; // It would leave no attention to take the times from.
        parameters.dtw_token_timestamps = true;
        parameters.dtw_aheads_preset = alignmentHeads(*header);
        parameters.dtw_n_top = std::max(1, header->textLayers / 2);
        try {
            m_context.reset(whisper_init_from_file_with_params(model.c_str(), parameters));
        } catch (const std::exception&) {
            // Told below, like every other model that cannot be read.
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
    // One wording at a time: several would each want a memory of their own.
    auto parameters = whisper_full_default_params(WHISPER_SAMPLING_GREEDY);
    parameters.n_threads = m_threads;
    parameters.audio_ctx = attended(samples.size());
    parameters.language = request.language.c_str();
    parameters.initial_prompt = request.prompt.c_str();
    parameters.no_context = true;
    parameters.print_progress = false;
    parameters.print_timestamps = false;
    parameters.suppress_nst = true;
    parameters.no_timestamps = true; // The times come from the attention.
    parameters.single_segment = true;
    parameters.max_tokens = sayable(samples.size());
    parameters.logits_filter_callback = endWhatIsCaught;
    parameters.logits_filter_callback_user_data = &parameters.max_tokens;
    parameters.temperature = request.temperature;
    parameters.temperature_inc = 0; // Who asks decides whether it is tried again.
    parameters.greedy.best_of = 1;
    std::stop_token asked = stop; // The library wants an address that it could write to.
    parameters.abort_callback = [](void* token) { return static_cast<const std::stop_token*>(token)->stop_requested(); };
    parameters.abort_callback_user_data = &asked;

    std::vector<float> padded;
    if (request.lead > 0 || samples.size() < sampleRate) {
        padded.resize(static_cast<std::size_t>(request.lead * sampleRate), 0);
        padded.insert(padded.end(), samples.begin(), samples.end());
        // The alignment ends the program for less than some frames of sound.
        padded.resize(std::max<std::size_t>(padded.size(), sampleRate), 0);
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
    const whisper_token firstSpecial = whisper_token_eot(m_context.get());
    for (int segment = 0; segment < whisper_full_n_segments(m_context.get()); ++segment) {
        for (int token = 0; token < whisper_full_n_tokens(m_context.get(), segment); ++token) {
            const auto data = whisper_full_get_token_data(m_context.get(), segment, token);
            if (data.id >= firstSpecial)
                continue;
            parts.push_back(data);
            certainty += static_cast<double>(data.plog);
            const std::string text = whisper_full_get_token_text(m_context.get(), segment, token);
            // A segment goes on in the middle of a word only after an apostrophe or the like.
            if (words.empty() || text.starts_with(' '))
                words.push_back({.probability = 1});
            words.back().text += text;
            // The attention goes on from a part of a word when it is over; marks are not spoken.
            if (isSpoken(text)) {
                words.back().end = std::max(static_cast<double>(data.t_dtw) / 100 - request.lead, 0.0);
                words.back().probability = std::min(words.back().probability, data.p);
            }
        }
    }

    // Marks that stand alone belong to the word before them.
    Answer result;
    for (auto& word : words) {
        word.text = trimmed(valid(word.text));
        if (isSpoken(word.text))
            result.words.push_back(std::move(word));
        else if (!result.words.empty() && !isDash(word.text))
            result.words.back().text += word.text;
    }
    if (!parts.empty())
        result.certainty = certainty / static_cast<double>(parts.size());
    result.complete = std::ssize(parts) <= parameters.max_tokens && !isCaught(parts, parameters.max_tokens);
    return result;
}

} // namespace orvo::speech
