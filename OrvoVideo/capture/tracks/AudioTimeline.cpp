#include "OrvoVideo/capture/tracks/AudioTimeline.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace orvo {

namespace {

/// The times of blocks are measured with errors. Only larger displacements are a real gap or overlap.
constexpr std::int64_t maxGap = AudioBlock::rate * 8 / 100;
constexpr std::int64_t maxOverlap = AudioBlock::rate * 12 / 100;

/// Blocks are stretched above this displacement, in samples; below, it is inaudible.
constexpr double unnoticed = AudioBlock::rate * 0.002;

/// Stretches by at most 1/200, which does not change the pitch audibly.
constexpr std::int64_t stretchDivisor = 200;

/// The weight of one block in the smoothed delay: an average over about a second for blocks of 20 ms.
constexpr double newsShare = 0.02;

/// Maximum time for a stream to become steady after a gap, in samples.
constexpr std::int64_t settlingTime = std::int64_t{AudioBlock::rate} * 5;

/// While a stream settles, larger displacements are corrected at once when this many consecutive blocks agree; times are
/// measured with errors of some milliseconds.
constexpr std::int64_t maxWhileSettling = AudioBlock::rate / 100;
constexpr int agreeingBlocks = 5;

std::int64_t toFrames(double seconds)
{
    return std::llround(seconds * AudioBlock::rate);
}

/// Duplicates one channel, or averages two.
void convertChannels(std::span<const float> from, int channels, std::vector<float>& to)
{
    to.clear();
    if (channels == 2) {
        for (const float sample : from)
            to.insert(to.end(), 2, sample);
    } else {
        for (std::size_t i = 0; i + 1 < from.size(); i += 2)
            to.push_back((from[i] + from[i + 1]) / 2);
    }
}

} // namespace

AudioTimeline::AudioTimeline(int channels, Sink sink)
    : m_channels(channels)
    , m_sink(std::move(sink))
{
}

void AudioTimeline::write(std::span<const float> samples)
{
    if (samples.empty())
        return;
    m_length += static_cast<std::int64_t>(samples.size()) / m_channels;
    m_sink(samples);
}

void AudioTimeline::fillUntil(double seconds)
{
    static constexpr std::array<float, std::size_t{AudioBlock::rate} / 5> silence{};
    std::int64_t missing = (toFrames(seconds) - m_length) * m_channels;
    while (missing > 0) {
        const auto samples = std::min(missing, static_cast<std::int64_t>(silence.size()));
        write(std::span(silence).first(static_cast<std::size_t>(samples)));
        missing -= samples;
    }
}

void AudioTimeline::add(const AudioBlock& block, double seconds)
{
    std::span<const float> samples = block.samples;
    if (block.channels != m_channels) {
        convertChannels(samples, m_channels, m_converted);
        samples = m_converted;
    }
    const std::int64_t place = toFrames(seconds);
    const std::int64_t late = place - m_length;
    const bool begins = late > maxGap || (m_length == 0 && late > 0);
    if (begins)
        m_settled = place + settlingTime;
    const bool displaced = isDisplaced(place, late);
    // Drops an overlap to its end, not only until it is small.
    m_overlaps = late < 0 && (m_overlaps || place < 0 || late < -maxOverlap || displaced);
    if (m_overlaps) {
        const auto over = static_cast<std::size_t>(-late * m_channels);
        m_lateness = 0;
        return write(samples.subspan(std::min(over, samples.size())));
    }
    if (begins || (late > 0 && displaced)) {
        fillUntil(seconds);
        m_lateness = 0;
        return write(samples);
    }
    const auto frames = static_cast<std::int64_t>(samples.size()) / m_channels;
    if (const auto more = correction(late, frames); more != 0)
        writeStretched(samples, more);
    else
        write(samples);
}

/// Whether the stream is settling and several consecutive blocks were displaced in the same direction.
bool AudioTimeline::isDisplaced(std::int64_t place, std::int64_t late)
{
    if (place >= m_settled || std::abs(late) <= maxWhileSettling) {
        m_displacedBlocks = 0;
        return false;
    }
    const int direction = late > 0 ? 1 : -1;
    m_displacedBlocks = direction + (m_displacedBlocks * direction > 0 ? m_displacedBlocks : 0);
    if (std::abs(m_displacedBlocks) < agreeingBlocks)
        return false;
    m_displacedBlocks = 0;
    return true;
}

/// Number of samples by which to lengthen a block of this length; negative to shorten it.
std::int64_t AudioTimeline::correction(std::int64_t late, std::int64_t frames)
{
    m_lateness += newsShare * (static_cast<double>(late) - m_lateness);
    if (std::abs(m_lateness) < unnoticed || frames < 2 * stretchDivisor)
        return 0;
    const auto limit = frames / stretchDivisor;
    const auto more =
        std::clamp(std::llround(m_lateness * newsShare), -static_cast<long long>(limit), static_cast<long long>(limit));
    m_lateness -= static_cast<double>(more);
    return more;
}

void AudioTimeline::writeStretched(std::span<const float> samples, std::int64_t more)
{
    const auto channels = static_cast<std::size_t>(m_channels);
    const std::size_t frames = samples.size() / channels;
    const auto wanted = static_cast<std::size_t>(static_cast<std::int64_t>(frames) + more);
    m_stretched.resize(wanted * channels);
    const double step = static_cast<double>(frames - 1) / static_cast<double>(wanted - 1);
    for (std::size_t i = 0; i < wanted; ++i) {
        const double exact = static_cast<double>(i) * step;
        const std::size_t left = std::min(static_cast<std::size_t>(exact), frames - 2);
        const auto share = static_cast<float>(exact - static_cast<double>(left));
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const float from = samples[left * channels + channel];
            const float to = samples[(left + 1) * channels + channel];
            m_stretched[i * channels + channel] = from + share * (to - from);
        }
    }
    write(m_stretched);
}

} // namespace orvo
