#include "OrvoVideo/playback/HeardSpans.h"

#include <algorithm>
#include <utility>

namespace orvo {

HeardSpans::HeardSpans(std::vector<PreviewPlayer::HeardSpan> spans)
    : m_spans(std::move(spans))
{
}

double HeardSpans::gain(double seconds) const
{
    if (m_spans.empty())
        return 1;
    const auto start = [](const PreviewPlayer::HeardSpan& heard) { return heard.span.start; };
    const auto next = std::ranges::upper_bound(m_spans, seconds, {}, start);
    if (next == m_spans.begin())
        return 0;
    const auto& [span, fadeIn, fadeOut] = *(next - 1);
    if (seconds >= span.end)
        return 0;
    const auto ramp = [](double distance, double length) { return length > 0 ? std::min(distance / length, 1.0) : 1; };
    return std::min(ramp(seconds - span.start, fadeIn), ramp(span.end - seconds, fadeOut));
}

void HeardSpans::apply(std::int64_t position, int rate, std::span<float> samples) const
{
    if (m_spans.empty())
        return;
    for (std::size_t i = 0; i + 1 < samples.size(); i += 2) {
        const auto time = static_cast<double>(position + static_cast<std::int64_t>(i / 2)) / rate;
        const auto factor = static_cast<float>(gain(time));
        samples[i] *= factor;
        samples[i + 1] *= factor;
    }
}

} // namespace orvo
