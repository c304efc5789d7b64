#include "VideoMedia/Fading.h"

#include "VideoMedia/GraphText.h"
#include "VideoMedia/NumberText.h"

#include <algorithm>
#include <format>
#include <map>
#include <span>
#include <vector>

namespace orvo::RenderGraph {

namespace {

constexpr std::int64_t microseconds = 1'000'000; ///< Per second.
constexpr int full = 65'535; ///< The level of a frame that is not darkened.

/// value * to / from, rounded to the nearest integer.
std::int64_t rescaled(std::int64_t value, std::int64_t from, std::int64_t to)
{
    return (value * to + from / 2) / from;
}

/// The levels of the frames of a part, whose span fades in and out.
class Levels {
public:
    /// `ticks` of the timestamps are a second.
    Levels(const PiecePart& part, std::int64_t fps, std::int64_t ticks)
        : m_fps(fps)
        , m_ticks(ticks)
        , m_first(rescaled(part.spanFirst, fps, ticks))
        , m_duration(timestamp(part.kept.videoFade))
        , m_start(timestamp(std::max(part.kept.span.duration(), 0.0) - part.kept.videoFade))
    {
    }

    int in(std::int64_t frame) const { return share(timeOf(frame)); }
    int out(std::int64_t frame) const
    {
        const auto time = timeOf(frame);
        return time < m_start ? full : full - share(time - m_start);
    }

private:
    /// Options of ffmpeg have whole microseconds; it cuts off the rest.
    std::int64_t timestamp(double seconds) const
    {
        constexpr double error = 1e-4; // Of a product, in microseconds.
        return rescaled(truncated(seconds * static_cast<double>(microseconds) + error), microseconds, m_ticks);
    }

    /// Ticks since the start of the span.
    std::int64_t timeOf(std::int64_t frame) const { return rescaled(frame, m_fps, m_ticks) - m_first; }

    /// How far a fade has come `time` ticks after its start.
    int share(std::int64_t time) const
    {
        if (time > m_duration)
            return full;
        if (m_duration == 0)
            return 0;
        const float reached = static_cast<float>(time) * static_cast<float>(full) / static_cast<float>(m_duration);
        return std::clamp(static_cast<int>(reached), 0, full);
    }

    std::int64_t m_fps;
    std::int64_t m_ticks;
    std::int64_t m_first; ///< The timestamp at which the span begins.
    std::int64_t m_duration; ///< Of a fade, in ticks.
    std::int64_t m_start; ///< Of the fade at the end, in ticks since the start of the span.
};

/// The filter that darkens frames to a level.
std::string darkened(int level, std::span<const TimeSpan> frames)
{
    // The constants and roundings of the filter "fade": black is 16, no colour 128.
    const auto chroma = std::format("128+(val-128)*{}/65536+32759/65536", level);
    return std::format("lutyuv=y='16+(val-16)*{0}/65536+1/2':u='{1}':v='{1}':enable='{2}'", level, chroma,
        GraphText::within("n", GraphText::widened(frames, 0.5)));
}

} // namespace

std::string fading(const Piece& piece, std::int64_t fps)
{
    // The last filter that sets the time base is that of the zooms or that which joins the clips.
    const std::int64_t ticks = piece.zoomed ? fps : microseconds;
    std::map<int, std::vector<TimeSpan>> in; // The numbers of the frames of each level.
    std::map<int, std::vector<TimeSpan>> out;
    std::int64_t number = 0;
    for (const auto& part : piece.parts) {
        if (!(part.kept.videoFade >= GraphText::minTime)) {
            number += part.last - part.first;
            continue;
        }
        const Levels levels(part, fps, ticks);
        for (auto frame = part.first; frame < part.last; ++frame, ++number) {
            const TimeSpan only{.start = static_cast<double>(number), .end = static_cast<double>(number)};
            if (const int level = levels.in(frame); level < full)
                in[level].push_back(only);
            if (const int level = levels.out(frame); level < full)
                out[level].push_back(only);
        }
    }
    std::string result;
    for (const auto& fade : {in, out}) {
        for (const auto& [level, frames] : fade)
            result += std::format("{}{}", result.empty() ? "" : ",", darkened(level, frames));
    }
    return result;
}

} // namespace orvo::RenderGraph
