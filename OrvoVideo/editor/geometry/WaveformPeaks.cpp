#include "EditorGeometry/WaveformPeaks.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvo {

namespace {

constexpr std::size_t reduction = 4; ///< Spans that merge into one of the next level.
constexpr std::size_t minLevel = 64;
constexpr std::string_view magic = "OrvoPeaks1";

/// A sample as a byte, rounded away from zero so that quiet audio stays visible.
std::int8_t reduced(std::int16_t sample)
{
    const int value = sample >= 0 ? (sample + 257) / 258 : -((-sample + 257) / 258);
    return static_cast<std::int8_t>(std::clamp(value, -127, 127));
}

} // namespace

WaveformPeaks WaveformPeaks::of(std::span<const std::int16_t> samples)
{
    WaveformPeaks peaks;
    peaks.add(samples);
    peaks.finish();
    return peaks;
}

void WaveformPeaks::take(std::int16_t sample)
{
    m_low = m_pending == 0 ? sample : std::min(m_low, sample);
    m_high = m_pending == 0 ? sample : std::max(m_high, sample);
    if (++m_pending == samplesPerPeak)
        closePeak();
}

void WaveformPeaks::closePeak()
{
    if (m_levels.empty())
        m_levels.emplace_back();
    m_levels.front().push_back({reduced(m_low), reduced(m_high)});
    m_pending = 0;
}

void WaveformPeaks::add(std::span<const std::int16_t> samples)
{
    for (const auto sample : samples)
        take(sample);
}

void WaveformPeaks::finish()
{
    if (m_pending > 0)
        closePeak();
    buildLevels();
}

void WaveformPeaks::buildLevels()
{
    if (m_levels.empty())
        return;
    m_levels.resize(1);
    while (m_levels.back().size() > minLevel) {
        const auto& finer = m_levels.back();
        Level level((finer.size() + reduction - 1) / reduction);
        for (std::size_t i = 0; i < level.size(); ++i) {
            const std::size_t first = i * reduction;
            const std::size_t last = std::min(first + reduction, finer.size());
            level[i] = finer[first];
            for (std::size_t j = first + 1; j < last; ++j) {
                level[i].low = std::min(level[i].low, finer[j].low);
                level[i].high = std::max(level[i].high, finer[j].high);
            }
        }
        m_levels.push_back(std::move(level));
    }
}

double WaveformPeaks::duration() const noexcept
{
    return empty() ? 0 : static_cast<double>(m_levels.front().size()) * samplesPerPeak / sampleRate;
}

WaveformPeaks::Peak WaveformPeaks::between(double start, double end) const
{
    if (empty() || !(end > start) || end <= 0 || start >= duration())
        return {};
    // The coarsest level whose spans are at most half the requested length: spans that overlap the ends add little.
    double perSecond = static_cast<double>(sampleRate) / samplesPerPeak;
    std::size_t level = 0;
    while (level + 1 < m_levels.size() && (end - start) * perSecond / reduction >= 2) {
        perSecond /= reduction;
        ++level;
    }
    const auto& stored = m_levels[level];
    const auto size = static_cast<double>(stored.size());
    const auto first = static_cast<std::size_t>(std::clamp(std::floor(start * perSecond), 0.0, size - 1));
    const auto last = static_cast<std::size_t>(std::clamp(std::ceil(end * perSecond), static_cast<double>(first) + 1, size));
    int low = stored[first].low;
    int high = stored[first].high;
    for (std::size_t i = first + 1; i < last; ++i) {
        low = std::min<int>(low, stored[i].low);
        high = std::max<int>(high, stored[i].high);
    }
    return {static_cast<float>(low) / 127.0F, static_cast<float>(high) / 127.0F};
}

std::string WaveformPeaks::encoded() const
{
    std::string bytes(magic);
    if (!empty()) {
        const auto& finest = m_levels.front();
        bytes.resize(magic.size() + finest.size() * 2);
        std::memcpy(bytes.data() + magic.size(), finest.data(), finest.size() * 2);
    }
    return bytes;
}

std::optional<WaveformPeaks> WaveformPeaks::decoded(std::string_view bytes)
{
    static_assert(sizeof(Stored) == 2);
    if (!bytes.starts_with(magic) || (bytes.size() - magic.size()) % 2 != 0)
        return std::nullopt;
    bytes.remove_prefix(magic.size());
    WaveformPeaks peaks;
    if (bytes.empty())
        return peaks;
    Level finest(bytes.size() / 2);
    std::memcpy(finest.data(), bytes.data(), bytes.size());
    peaks.m_levels.push_back(std::move(finest));
    peaks.buildLevels();
    return peaks;
}

} // namespace orvo
