#include "OrvoVideo/playback/VideoSource.h"

#include "OrvoVideo/gstreamer/GstHandles.h"

#include <algorithm>
#include <utility>

namespace orvo {

namespace {

/// A file whose key frames lie two seconds apart is on average decoded for one second to reach a picture from the key frame
/// before it.
constexpr double decodeOnFor = 1.0;

/// A step backwards no longer than this is taken as the first of several: the pictures before it are decoded with it.
constexpr double stepBack = 0.2;
constexpr double decodedWithStepBack = 0.5;

constexpr double everAfter = 1e9;

/// What times lose on their way through the units of files and decoders.
constexpr double rounding = 1e-6;

/// What recent pictures may take: of 1080p, 16 of them.
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
        m_shortest = std::min(m_shortest, sample.end - sample.start);
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
    // Pictures may have been left out between two of them, so only the span that a picture tells of itself counts.
    const auto found = std::ranges::find_if(m_recent,
        [seconds](const MediaSample& sample) { return sample.start <= seconds + rounding && seconds < sample.end; });
    if (found == m_recent.end())
        return nullptr;
    const bool isLast = std::next(found) == m_recent.end();
    return !isLast || tellsItsEnd(*found) || (m_pushedBack && seconds < m_pushedBack.start) ? &*found : nullptr;
}

bool VideoSource::tellsItsEnd(const MediaSample& sample) const
{
    return sample.end - sample.start < 1.5 * m_shortest;
}

void VideoSource::prepare(double seconds)
{
    if (m_prepared != seconds)
        m_wanted = seconds;
    if (!m_wanted || !m_reader.isReady())
        return;
    const double target = *m_wanted;
    m_reader.skipUnneededBefore(target);
    // What the reader keeps ready must begin with this picture, not with the key frame before it.
    seek(target, MediaReader::Seek::Exact);
    m_position = target;
    m_prepared = target;
    m_isCutShort = true;
}

VideoSource::Picture VideoSource::pictureAt(double seconds, Want want, const std::stop_token& stop, const GiveUp& giveUp)
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

    // Without an index, or with pictures that last longer than the file says, a seek can land too late: then farther back.
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
        if (seconds < sample.end && tellsItsEnd(sample))
            return {.sample = std::move(sample)};
        if (giveUp && giveUp())
            return {.sample = std::move(sample), .isExact = false};
        before = std::move(sample);
    }
}

} // namespace orvo
