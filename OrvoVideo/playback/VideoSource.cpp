#include "OrvoVideo/playback/VideoSource.h"

#include "OrvoVideo/gstreamer/GstHandles.h"

#include <algorithm>
#include <utility>

namespace orvo {

namespace {

/// With key frames two seconds apart, reaching a frame from the key frame before it takes one second of decoding on
/// average.
constexpr double decodeOnFor = 1.0;

/// A shorter step backwards is probably the first of several, so the frames before its target are decoded too.
constexpr double stepBack = 0.2;
constexpr double decodedWithStepBack = 0.5;

constexpr double everAfter = 1e9;

/// Rounding error of times between file and decoder units.
constexpr double rounding = 1e-6;

/// Memory for recent frames: 16 of 1080p.
constexpr std::size_t recentBytes = 48U << 20;

std::size_t sizeOf(const MediaSample& sample)
{
    return gst_buffer_get_size(gst_sample_get_buffer(sample.data.get()));
}

} // namespace

VideoSource::VideoSource(const std::filesystem::path& file, int rotation)
    : m_reader(file, MediaReader::Stream::Video, rotation)
{
}

void VideoSource::seek(double seconds, MediaReader::Seek mode)
{
    m_reader.seek(std::max(seconds, 0.0), mode);
    m_recent.clear();
    m_pushedBack = {};
    m_last = {};
    m_prepared.reset();
    m_wanted.reset();
    m_hasHoles = false;
    m_isCutShort = false;
}

MediaSample VideoSource::advance(const std::stop_token& stop)
{
    MediaSample sample = m_pushedBack ? std::exchange(m_pushedBack, {}) : m_reader.next(stop);
    if (!sample) {
        m_position.reset();
        return sample;
    }
    m_position = sample.end;
    if (!m_recent.empty())
        m_recent.back().end = std::min(m_recent.back().end, sample.start);
    if (sample.end > sample.start && !std::exchange(m_isCutShort, false))
        m_minDuration = std::min(m_minDuration, sample.end - sample.start);
    m_last = sample;
    remember(sample);
    return sample;
}

void VideoSource::remember(const MediaSample& sample)
{
    m_recent.push_back(sample);
    while (m_recent.size() > 2 && m_recent.size() * sizeOf(sample) > recentBytes)
        m_recent.pop_front();
}

const MediaSample* VideoSource::remembered(double seconds) const
{
    // Frames between two of them may have been skipped, so only the frame's own duration counts.
    const auto found = std::ranges::find_if(m_recent,
        [seconds](const MediaSample& sample) { return sample.start <= seconds + rounding && seconds < sample.end; });
    if (found == m_recent.end())
        return nullptr;
    const bool isLast = std::next(found) == m_recent.end();
    return !isLast || hasReliableEnd(*found) || (m_pushedBack && seconds < m_pushedBack.start) ? &*found : nullptr;
}

bool VideoSource::hasReliableEnd(const MediaSample& sample) const
{
    return sample.end - sample.start < 1.5 * m_minDuration;
}

void VideoSource::prepare(double seconds)
{
    if (m_prepared != seconds)
        m_wanted = seconds;
    if (!m_wanted || !m_reader.isReady())
        return;
    const double target = *m_wanted;
    m_reader.skipUnneededBefore(target);
    // The prepared samples must start with this frame, not with the key frame before it.
    seek(target, MediaReader::Seek::Exact);
    m_position = target;
    m_prepared = target;
    m_isCutShort = true;
}

VideoSource::Frame VideoSource::frameAt(double seconds, Want want, const std::stop_token& stop, const GiveUp& giveUp)
{
    if (want == Want::Exact && m_hasHoles) {
        m_position.reset();
        m_recent.clear();
    }
    if (const MediaSample* known = remembered(seconds))
        return {.sample = *known};
    if (m_final && seconds >= m_final.start)
        return {.sample = m_final};
    m_reader.open(stop);

    const bool isBackward = m_last && seconds < m_last.start;
    const bool isStepBack = isBackward
        && (m_last.start - seconds < stepBack
            || (!m_recent.empty() && seconds < m_recent.front().start && m_recent.front().start - seconds < stepBack));
    const bool isPrepared = m_prepared && *m_prepared <= seconds && seconds - *m_prepared < decodeOnFor;
    const bool decodesOn = m_position && !isBackward && (isPrepared || (m_last && seconds - *m_position < decodeOnFor));
    double start = isStepBack ? std::max(seconds - decodedWithStepBack, 0.0) : seconds;
    m_reader.skipUnneededBefore(want == Want::Hurried ? everAfter : decodesOn ? seconds : start);
    if (!decodesOn)
        seek(start, MediaReader::Seek::KeyFrame);
    m_prepared.reset();
    m_hasHoles = m_hasHoles || want == Want::Hurried;

    // Without an index, or with wrong durations, a seek can land too late; then seeks farther back.
    double further = 0.5;
    MediaSample before = decodesOn ? m_last : MediaSample{};
    while (true) {
        MediaSample sample = advance(stop);
        if (!sample || sample.start > seconds + rounding) {
            if (!before && start > 0) {
                start = std::max(start - further, 0.0);
                further *= 4;
                m_reader.skipUnneededBefore(start);
                seek(start, MediaReader::Seek::KeyFrame);
                continue;
            }
            if (!before)
                return {.sample = std::move(sample)};
            if (sample) {
                m_recent.pop_back();
                m_pushedBack = std::move(sample);
                m_last = before;
            } else {
                m_final = before;
            }
            return {.sample = std::move(before)};
        }
        if (seconds < sample.end && hasReliableEnd(sample))
            return {.sample = std::move(sample)};
        if (giveUp && giveUp())
            return {.sample = std::move(sample), .isExact = false};
        before = std::move(sample);
    }
}

} // namespace orvo
