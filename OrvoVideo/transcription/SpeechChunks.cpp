#include "OrvoVideo/transcription/SpeechChunks.h"

#include <algorithm>
#include <utility>

namespace orvo::speech {

namespace {

constexpr std::size_t keptBeside = 25; ///< Frames of silence kept before and after speech.
constexpr std::size_t maxFrames =
    2'850; ///< Frames per chunk. The recogniser accepts 3,000, including some silence at the end.
constexpr std::size_t maxSpeech = maxFrames - 2 * keptBeside; ///< Frames per stretch.
constexpr double minFilled = 0.6; ///< Share of a chunk after which its end is placed in the longest silence.

std::size_t keptOf(std::size_t silence)
{
    return std::min(silence, 2 * keptBeside);
}

/// Splits overlong stretches at the quietest place in the second half of the maximum length.
std::vector<Frames> withoutOverlong(const std::vector<Frames>& speech, const Loudness& loudness)
{
    constexpr std::size_t width = 8;
    std::vector<Frames> result;
    for (Frames rest : speech) {
        while (rest.count() > maxSpeech) {
            std::size_t best = rest.begin + maxSpeech;
            float quietest = 1000;
            for (std::size_t i = rest.begin + maxSpeech / 2; i + width < rest.begin + maxSpeech; ++i) {
                float loud = -1000;
                for (std::size_t k = 0; k < width; ++k)
                    loud = std::max({loud, loudness.voice[i + k], loudness.hiss[i + k]});
                if (loud < quietest) {
                    quietest = loud;
                    best = i + width / 2;
                }
            }
            result.push_back({.begin = rest.begin, .end = best});
            rest.begin = best;
        }
        result.push_back(rest);
    }
    return result;
}

} // namespace

Chunk::Chunk(std::vector<Frames> speech, Frames room, std::size_t samples)
    : m_speech(std::move(speech))
    , m_room(room)
{
    const auto add = [&](std::size_t beginFrame, std::size_t endFrame) {
        const std::size_t begin = std::min(beginFrame * frameSize, samples);
        const std::size_t end = std::min(endFrame * frameSize, samples);
        const std::size_t at = m_pieces.empty() ? 0 : size();
        if (!m_pieces.empty() && m_pieces.back().from + m_pieces.back().count >= begin)
            m_pieces.back().count = std::max(m_pieces.back().count, end - m_pieces.back().from);
        else
            m_pieces.push_back({.from = begin, .count = end - begin, .at = at});
    };
    if (goesOnBefore())
        room.begin -= std::min(room.begin, keptBeside);
    if (goesOnBehind())
        room.end += keptBeside;
    for (const auto& stretch : m_speech) {
        const std::size_t before = std::min(stretch.begin, keptBeside);
        add(std::max(stretch.begin - before, std::min(room.begin, stretch.begin)),
            std::min(stretch.end + keptBeside, std::max(room.end, stretch.end)));
    }
}

double Chunk::inRecording(double seconds) const
{
    const double sample = std::max(0.0, seconds * sampleRate);
    auto piece = m_pieces.rbegin();
    while (piece + 1 != m_pieces.rend() && sample < static_cast<double>(piece->at))
        ++piece;
    return (static_cast<double>(piece->from) + sample - static_cast<double>(piece->at)) / sampleRate;
}

double Chunk::inChunk(double seconds) const
{
    const double sample = seconds * sampleRate;
    auto piece = m_pieces.rbegin();
    while (piece + 1 != m_pieces.rend() && sample < static_cast<double>(piece->from))
        ++piece;
    const double within = std::clamp(sample - static_cast<double>(piece->from), 0.0, static_cast<double>(piece->count));
    return (static_cast<double>(piece->at) + within) / sampleRate;
}

std::vector<Chunk> makeChunks(const std::vector<Frames>& speech, const Loudness& loudness, std::size_t samples)
{
    const auto stretches = withoutOverlong(speech, loudness);
    std::vector<Chunk> chunks;
    std::size_t first = 0;
    while (first < stretches.size()) {
        // Takes as many stretches as fit, then ends at the longest of the later silences.
        std::size_t length = 2 * keptBeside + stretches[first].count();
        std::size_t next = first + 1;
        std::size_t best = 0;
        std::size_t bestSilence = 0;
        for (; next < stretches.size(); ++next) {
            const std::size_t silence = stretches[next].begin - stretches[next - 1].end;
            if (static_cast<double>(length) >= minFilled * maxFrames && silence >= bestSilence) {
                best = next;
                bestSilence = silence;
            }
            const std::size_t longer = length + keptOf(silence) + stretches[next].count();
            if (longer > maxFrames)
                break;
            length = longer;
        }
        if (next < stretches.size() && best != 0)
            next = best;
        const Frames room{.begin = first == 0 ? 0 : stretches[first - 1].end,
            .end = next == stretches.size() ? samples / frameSize + 1 : stretches[next].begin};
        chunks.emplace_back(std::vector(stretches.begin() + static_cast<std::ptrdiff_t>(first),
                                stretches.begin() + static_cast<std::ptrdiff_t>(next)),
            room, samples);
        first = next;
    }
    return chunks;
}

} // namespace orvo::speech
