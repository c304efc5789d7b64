#include "OrvoVideo/transcription/SpeechActivity.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>
#include <limits>
#include <numbers>
#include <numeric>

namespace orvo::speech {

namespace {

constexpr float silence = -100; ///< Level of digital silence, in dB.
constexpr std::size_t surroundings = 400; ///< Frames before and after each one that define its loud and quiet levels.

/// Minimum levels of speech above the background, in dB.
struct Margins {
    float begins; ///< A stretch needs a frame at least this far above the background,
    float lasts; ///< and extends as far as the level stays this far above it.
};
constexpr Margins voiceMargins{.begins = 9, .lasts = 4.5F};
constexpr Margins hissMargins{.begins = 11, .lasts = 6};

constexpr float range = 46; ///< Audio this many dB below the loudest nearby is ignored, regardless of the background.
constexpr float minContrast = 10; ///< Minimum difference between loud and quiet where there is speech, in dB.
constexpr float minLevel = -62; ///< Minimum level of the loudest audio nearby, in dB.

constexpr std::size_t minSpeech = 6; ///< Frames.

double decibels(double meanSquare)
{
    return std::max<double>(silence, 10 * std::log10(meanSquare + 1e-12));
}

/// The mean energy of `width` frames around each frame.
std::vector<float> smoothed(const std::vector<float>& levels, std::size_t width)
{
    std::vector<double> sums(levels.size() + 1, 0);
    for (std::size_t i = 0; i < levels.size(); ++i)
        sums[i + 1] = sums[i] + std::pow(10.0, levels[i] / 10.0);
    std::vector<float> result(levels.size());
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const std::size_t begin = i >= width / 2 ? i - width / 2 : 0;
        const std::size_t end = std::min(levels.size(), begin + width);
        result[i] = static_cast<float>(decibels((sums[end] - sums[begin]) / static_cast<double>(end - begin)));
    }
    return result;
}

/// The minimum (with `std::greater` the maximum) of the frames within `reach` of each frame.
template <typename Compare> std::vector<float> extremes(const std::vector<float>& levels, std::size_t reach, Compare before)
{
    std::vector<float> result(levels.size());
    std::deque<std::size_t> candidates;
    std::size_t next = 0;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        for (; next < levels.size() && next <= i + reach; ++next) {
            while (!candidates.empty() && !before(levels[candidates.back()], levels[next]))
                candidates.pop_back();
            candidates.push_back(next);
        }
        while (candidates.front() + reach < i)
            candidates.pop_front();
        result[i] = levels[candidates.front()];
    }
    return result;
}

/// One band and its thresholds.
struct Band {
    std::vector<float> level; ///< Slightly smoothed.
    std::vector<float> floor;
    std::vector<float> peak;
    std::vector<float> lasts; ///< The threshold at which a stretch ends.
    std::vector<char> begins; ///< Whether the frame certainly contains speech.
};

/// The background level at each frame: the minimum around it. Ignores inserted digital silence (a track that starts late,
/// a gate), which is not the background of the rest.
std::vector<float> floorOf(const std::vector<float>& raw)
{
    constexpr std::size_t width = 8;
    constexpr float none = std::numeric_limits<float>::infinity();
    constexpr float steady = 6; // dB. Frames this close to the minimum are background rather than a dip in the speech
    constexpr std::size_t minBackground = 40; // if there are this many beside something louder,
    constexpr std::size_t alone = 200; // or this many in a row: no speaker holds a tone that long.
    const auto level = smoothed(raw, width);
    auto result = extremes(level, surroundings, std::less<>());

    std::vector<float> sounding = level;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] <= silence + 5) {
            const std::size_t end = std::min(raw.size(), i + width);
            std::fill(sounding.begin() + static_cast<std::ptrdiff_t>(i - std::min(i, width)),
                sounding.begin() + static_cast<std::ptrdiff_t>(end), none);
        }
    }
    const auto minima = extremes(sounding, surroundings, std::less<>());
    const auto maxima = extremes(level, surroundings, std::greater<>());
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (minima[i] == none || minima[i] <= result[i])
            continue;
        const bool standsOut = maxima[i] >= minima[i] + minContrast;
        std::size_t background = 0;
        std::size_t run = 0;
        bool isBackground = false;
        const std::size_t end = std::min(raw.size(), i + surroundings + 1);
        for (std::size_t k = i - std::min(i, surroundings); k < end && !isBackground; ++k) {
            const bool stays = sounding[k] <= minima[i] + steady;
            run = stays ? run + 1 : 0;
            background += stays ? 1U : 0U;
            isBackground = run >= alone || (standsOut && background >= minBackground);
        }
        if (isBackground)
            result[i] = minima[i];
    }
    return result;
}

Band analyse(const std::vector<float>& raw, const Margins& margins, float minPeak)
{
    Band band;
    band.level = smoothed(raw, 3);
    band.floor = floorOf(raw);
    band.peak = extremes(smoothed(raw, 5), surroundings, std::greater<>());
    band.lasts.resize(raw.size());
    band.begins.resize(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
        band.lasts[i] = std::max(band.floor[i] + margins.lasts, band.peak[i] - range);
        const bool speaks = band.peak[i] - band.floor[i] >= minContrast && band.peak[i] >= minPeak;
        if (!speaks)
            band.lasts[i] = std::numeric_limits<float>::infinity();
        band.begins[i] =
            speaks && band.level[i] >= std::max(band.floor[i] + margins.begins, band.peak[i] - range + 6) ? 1 : 0;
    }
    return band;
}

} // namespace

LoudnessMeter::Section LoudnessMeter::highPass(double frequency, double quality)
{
    // Bilinear transform of a second-order high-pass.
    const double w = 2 * std::numbers::pi * frequency / sampleRate;
    const double alpha = std::sin(w) / (2 * quality);
    const double a0 = 1 + alpha;
    const double c = std::cos(w);
    return {.b0 = (1 + c) / 2 / a0, .b1 = -(1 + c) / a0, .b2 = (1 + c) / 2 / a0, .a1 = -2 * c / a0, .a2 = (1 - alpha) / a0};
}

LoudnessMeter::Section LoudnessMeter::lowPass(double frequency, double quality)
{
    const double w = 2 * std::numbers::pi * frequency / sampleRate;
    const double alpha = std::sin(w) / (2 * quality);
    const double a0 = 1 + alpha;
    const double c = std::cos(w);
    return {.b0 = (1 - c) / 2 / a0, .b1 = (1 - c) / a0, .b2 = (1 - c) / 2 / a0, .a1 = -2 * c / a0, .a2 = (1 - alpha) / a0};
}

double LoudnessMeter::Section::operator()(double x) noexcept
{
    const double y = b0 * x + s1;
    s1 = b1 * x - a1 * y + s2;
    s2 = b2 * x - a2 * y;
    return y;
}

LoudnessMeter::LoudnessMeter()
{
    // The Q factors of the two sections of a fourth-order Butterworth filter.
    constexpr double qualities[] = {0.541, 1.307};
    for (int i = 0; i < 2; ++i) {
        m_voiceHigh[i] = highPass(150, qualities[i]);
        m_voiceLow[i] = lowPass(3'500, qualities[i]);
        m_hissHigh[i] = highPass(3'500, qualities[i]);
    }
}

void LoudnessMeter::add(std::span<const float> samples)
{
    for (const float sample : samples) {
        const double voice = m_voiceLow[1](m_voiceLow[0](m_voiceHigh[1](m_voiceHigh[0](sample))));
        const double hiss = m_hissHigh[1](m_hissHigh[0](sample));
        m_voiceSum += voice * voice;
        m_hissSum += hiss * hiss;
        if (++m_count == frameSize) {
            m_loudness.voice.push_back(static_cast<float>(decibels(m_voiceSum / frameSize)));
            m_loudness.hiss.push_back(static_cast<float>(decibels(m_hissSum / frameSize)));
            m_voiceSum = m_hissSum = 0;
            m_count = 0;
        }
    }
}

namespace {

/// The decay at the end of a stretch.
struct Fall {
    float slope = 0; ///< dB per frame.
    float level = 0; ///< Level of the fitted line at the last frame, in dB.
    bool even = false; ///< Whether the decay is a straight line, as reverberation is.
};

constexpr std::size_t fitted = 10; ///< Frames to which the line is fitted.

/// Fits a line to the last frames of a stretch by least squares. Reverberation decays until it is inaudible; a stretch
/// that ends abruptly has none.
Fall fallOf(const Band& band, const Frames& stretch)
{
    constexpr float straight = 2; // Root mean square deviation from the line, in dB.
    constexpr float brokenOff = 8; // dB above the threshold.
    const auto& level = band.level;
    if (stretch.count() < fitted + 4 || level[stretch.end - 1] > band.lasts[stretch.end - 1] + brokenOff)
        return {};
    constexpr float middle = (fitted - 1) / 2.0F;
    const auto at = [&](std::size_t i) { return level[stretch.end - fitted + i]; };
    float mean = 0;
    float product = 0;
    float square = 0;
    for (std::size_t i = 0; i < fitted; ++i) {
        const float x = static_cast<float>(i) - middle;
        mean += at(i) / fitted;
        product += x * at(i);
        square += x * x;
    }
    const Fall fall{.slope = -product / square, .level = mean + product / square * middle};
    float residue = 0;
    for (std::size_t i = 0; i < fitted; ++i) {
        const float away = at(i) - (fall.level + fall.slope * static_cast<float>(fitted - 1 - i));
        residue += away * away / fitted;
    }
    return {.slope = fall.slope, .level = fall.level, .even = residue < straight * straight};
}

/// The decay rate of the room, in dB per frame; 0 when no reverberation is detected, which would make most stretches end
/// alike.
float roomOf(const Band& band, const std::vector<Frames>& speech)
{
    constexpr float minSlope = 0.5F; // A reverberation time of 1.2 seconds.
    constexpr float maxSlope = 3; // 0.2 seconds; a faster decay costs no precision.
    constexpr float alike = 0.4F; // Relative difference between decays of one room.
    std::vector<float> slopes;
    for (const auto& stretch : speech) {
        if (const Fall fall = fallOf(band, stretch); fall.even && fall.slope > minSlope && fall.slope < maxSlope)
            slopes.push_back(fall.slope);
    }
    if (slopes.size() < 3)
        return 0;
    const auto middle = slopes.begin() + static_cast<std::ptrdiff_t>(slopes.size() / 2);
    std::ranges::nth_element(slopes, middle);
    const float room = *middle;
    const auto fitting = std::ranges::count_if(slopes, [&](float slope) { return std::abs(slope - room) < alike * room; });
    return 5 * static_cast<std::size_t>(fitting) >= 2 * speech.size() ? room : 0;
}

/// The end of a stretch without reverberation: follows the decay line back to where the voice falls below it.
std::size_t withoutTail(const Band& band, const Frames& stretch, float room)
{
    constexpr float under = 4; // dB.
    const Fall fall = fallOf(band, stretch);
    if (!fall.even || fall.slope > 1.6F * room || fall.slope < 0.5F * room)
        return stretch.end;
    std::size_t at = stretch.end - fitted;
    float line = fall.level + room * static_cast<float>(fitted - 1);
    while (at > stretch.begin + minSpeech && band.level[at] >= line - under) {
        --at;
        line += room;
    }
    // The decay line falls to the level of the voice this many frames later.
    return std::min(at + 1 + static_cast<std::size_t>(under / room), stretch.end);
}

/// The end of each stretch, judging by one band.
std::vector<std::size_t> endsIn(const Band& band, std::vector<Frames> speech)
{
    for (auto& stretch : speech) {
        while (stretch.count() > minSpeech && band.level[stretch.end - 1] <= band.lasts[stretch.end - 1])
            --stretch.end;
    }
    const float room = roomOf(band, speech);
    std::vector<std::size_t> result;
    result.reserve(speech.size());
    for (const auto& stretch : speech)
        result.push_back(room > 0 ? withoutTail(band, stretch, room) : stretch.end);
    return result;
}

} // namespace

bool isVoiced(std::span<const float> samples)
{
    constexpr std::size_t window = sampleRate / 25; // 40 ms: several periods of the lowest voice.
    constexpr std::size_t step = sampleRate / 50;
    constexpr std::size_t minPeriod = sampleRate / 400;
    constexpr std::size_t maxPeriod = sampleRate / 70;
    constexpr double alike =
        0.55; // Correlation of one period with the next. Noise is far below it, a voice with 10 dB less noise far above.
    constexpr double lasts =
        0.1; // Minimum share of the energy in each half of a window. A click rings like a voice, but more briefly.
    for (std::size_t at = 0; at + window + maxPeriod <= samples.size(); at += step) {
        const auto product = [&](std::size_t one, std::size_t other) {
            return std::inner_product(samples.begin() + static_cast<std::ptrdiff_t>(at + one),
                samples.begin() + static_cast<std::ptrdiff_t>(at + one + window),
                samples.begin() + static_cast<std::ptrdiff_t>(at + other), 0.0);
        };
        const double energy = product(0, 0);
        const auto half = samples.subspan(at, window / 2);
        const double share = std::inner_product(half.begin(), half.end(), half.begin(), 0.0) / std::max(energy, 1e-6);
        if (energy < 1e-6 || share < lasts || share > 1 - lasts)
            continue;
        for (std::size_t period = minPeriod; period <= maxPeriod; ++period) {
            const double common = product(0, period);
            if (common > 0 && common * common > alike * alike * energy * product(period, period))
                return true;
        }
    }
    return false;
}

std::vector<Frames> findSpeech(const Loudness& loudness)
{
    const std::size_t count = loudness.frames();
    const Band voice = analyse(loudness.voice, voiceMargins, minLevel);
    const Band hiss = analyse(loudness.hiss, hissMargins, minLevel - 10);
    const auto sounds = [&](std::size_t i) { return voice.level[i] > voice.lasts[i] || hiss.level[i] > hiss.lasts[i]; };

    std::vector<Frames> sounding;
    for (std::size_t i = 0; i < count;) {
        if (!sounds(i)) {
            ++i;
            continue;
        }
        Frames stretch{.begin = i, .end = i};
        bool certain = false;
        for (; i < count && sounds(i); ++i)
            certain = certain || voice.begins[i] != 0 || hiss.begins[i] != 0;
        stretch.end = i;
        // Smoothing extends a stretch by one frame.
        if (stretch.count() > 2 && loudness.voice[stretch.begin] <= voice.lasts[stretch.begin]
            && loudness.hiss[stretch.begin] <= hiss.lasts[stretch.begin])
            ++stretch.begin;
        if (stretch.count() > 2 && loudness.voice[stretch.end - 1] <= voice.lasts[stretch.end - 1]
            && loudness.hiss[stretch.end - 1] <= hiss.lasts[stretch.end - 1])
            --stretch.end;
        if (certain)
            sounding.push_back(stretch);
    }
    // Reverberation may cover most of a pause.
    const auto voiceEnds = endsIn(voice, sounding);
    const auto hissEnds = endsIn(hiss, sounding);
    std::vector<Frames> found;
    for (std::size_t i = 0; i < sounding.size(); ++i) {
        const Frames stretch{.begin = sounding[i].begin, .end = std::max(voiceEnds[i], hissEnds[i])};
        if (!found.empty() && stretch.begin - found.back().end < partingSilence)
            found.back().end = stretch.end;
        else
            found.push_back(stretch);
    }
    std::erase_if(found, [](const Frames& stretch) { return stretch.count() < minSpeech; });
    return found;
}

} // namespace orvo::speech
