#include "OrvoVideo/playback/AudioTrack.h"

#include "OrvoVideo/gstreamer/GstHandles.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvo {

namespace {

constexpr int channels = 2;

/// Buffer times are rounded; only a larger step is a gap in the file.
constexpr std::int64_t jitter = MediaReader::audioRate / 50;

std::int64_t toSamples(double seconds)
{
    return std::llround(seconds * MediaReader::audioRate);
}

} // namespace

AudioTrack::AudioTrack(const std::filesystem::path& file, double start, double gain)
    : m_reader(file, MediaReader::Stream::Audio)
    , m_start(start)
    , m_gain(static_cast<float>(gain))
    , m_heardGain(static_cast<float>(gain))
{
}

/// Reads the next buffer. Returns false at the end.
bool AudioTrack::readOn(const std::stop_token& stop)
{
    MediaSample sample = m_reader.next(stop);
    if (!sample) {
        m_ended = true;
        m_sample = {};
        m_sampleLength = 0;
        return false;
    }
    const std::int64_t start = toSamples(sample.start);
    const std::int64_t follows = m_sampleStart + m_sampleLength;
    m_sampleStart = m_sample && std::abs(start - follows) < jitter ? follows : start;
    m_sample = std::move(sample);
    m_sampleLength = static_cast<std::int64_t>(
        gst_buffer_get_size(gst_sample_get_buffer(m_sample.data.get())) / (channels * sizeof(float)));
    return true;
}

void AudioTrack::mix(std::int64_t position, std::span<float> mixed, const std::stop_token& stop)
{
    const auto count = static_cast<std::int64_t>(mixed.size() / channels);
    const std::int64_t from = position - toSamples(m_start);
    const std::int64_t to = from + count;
    const float gain = m_gain;
    const float gainStep = (gain - m_heardGain) / static_cast<float>(std::max<std::int64_t>(count, 1));
    const float gainBefore = std::exchange(m_heardGain, gain);
    if (to <= 0)
        return;
    if (m_position != from) {
        m_reader.open(stop);
        m_reader.seek(
            static_cast<double>(std::max<std::int64_t>(from, 0)) / MediaReader::audioRate, MediaReader::Seek::Exact);
        m_sample = {};
        m_sampleLength = 0;
        m_ended = false;
    }
    m_position = to;

    std::int64_t at = std::max<std::int64_t>(from, 0);
    while (at < to) {
        if (!m_sample || m_sampleStart + m_sampleLength <= at) {
            if (m_ended || !readOn(stop))
                return;
            continue;
        }
        // Silence up to a sample that starts later.
        at = std::max(at, m_sampleStart);
        const std::int64_t end = std::min(to, m_sampleStart + m_sampleLength);
        const BufferView bytes(gst_sample_get_buffer(m_sample.data.get()));
        const auto* values = reinterpret_cast<const float*>(bytes.data());
        if (!values)
            return;
        for (; at < end; ++at) {
            const float factor = gainBefore + gainStep * static_cast<float>(at - from + 1);
            for (int channel = 0; channel < channels; ++channel) {
                mixed[static_cast<std::size_t>((at - from) * channels + channel)] +=
                    factor * values[(at - m_sampleStart) * channels + channel];
            }
        }
    }
}

} // namespace orvo
