#include "VideoMedia/Fading.h"

#include "VideoMedia/GraphText.h"
#include "VideoMedia/NumberText.h"

#include <algorithm>
#include <format>
#include <map>
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

/// The levels of the frames of a span that fades in and out.
class Levels {
public:
    /// `ticks` of the timestamps are a second.
    Levels(const KeptSpan& kept, std::int64_t fps, std::int64_t ticks)
        : m_fps(fps)
        , m_ticks(ticks)
        , m_duration(timestamp(kept.videoFade))
        , m_start(timestamp(std::max(kept.span.duration(), 0.0) - kept.videoFade))
    {
    }

    /// The level of frame `frame`, where the span begins with frame `first`.
    int in(std::int64_t frame, std::int64_t first) const { return share(after(frame, first)); }
    int out(std::int64_t frame, std::int64_t first) const
    {
        const auto time = after(frame, first);
        return time < m_start ? full : full - share(time - m_start);
    }

private:
    /// Options of ffmpeg have whole microseconds; it cuts off the rest.
    std::int64_t timestamp(double seconds) const
    {
        constexpr double error = 1e-4; // Of a product, in microseconds.
        return rescaled(truncated(seconds * static_cast<double>(microseconds) + error), microseconds, m_ticks);
    }

    std::int64_t after(std::int64_t frame, std::int64_t first) const
    {
        return rescaled(frame, m_fps, m_ticks) - rescaled(first, m_fps, m_ticks);
    }

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
    std::int64_t m_duration; ///< Of a fade, in ticks.
    std::int64_t m_start; ///< Of the fade at the end.
};

/// The filter that darkens frames to a level. `frames` are sorted.
std::string darkened(int level, const std::vector<std::int64_t>& frames)
{
    std::vector<TimeSpan> spans;
    for (const auto frame : frames) {
        const auto number = static_cast<double>(frame);
        if (!spans.empty() && spans.back().end == number - 1)
            spans.back().end = number;
        else
            spans.push_back({.start = number, .end = number});
    }
    // The constants and roundings of the filter "fade": black is 16, no colour 128.
    const auto chroma = std::format("128+(val-128)*{}/65536+32759/65536", level);
    return std::format(
        "lutyuv=y='16+(val-16)*{0}/65536+1/2':u='{1}':v='{1}':enable='{2}'", level, chroma, GraphText::within("n", spans));
}

} // namespace

std::string fading(const Piece& piece, std::int64_t fps)
{
    // The last filter that sets the time base is that of the zooms or that which joins the clips.
    const std::int64_t ticks = piece.zoomed ? fps : microseconds;
    std::map<int, std::vector<std::int64_t>> in; // The frames of each level.
    std::map<int, std::vector<std::int64_t>> out;
    std::int64_t number = 0;
    for (const auto& part : piece.parts) {
        if (!(part.kept.videoFade >= GraphText::minTime)) {
            number += part.last - part.first;
            continue;
        }
        const Levels levels(part.kept, fps, ticks);
        for (auto frame = part.first; frame < part.last; ++frame, ++number) {
            if (const int level = levels.in(frame, part.spanFirst); level < full)
                in[level].push_back(number);
            if (const int level = levels.out(frame, part.spanFirst); level < full)
                out[level].push_back(number);
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
