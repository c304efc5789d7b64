#pragma once

#include "VideoCore/VideoProject.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Conversions between the recording timeline and the output timeline, which is what the cuts leave, joined end to end.
/// Pure functions; all times in seconds.
namespace orvo::Timeline {

/// The cuts cleaned, sorted and merged: sorted by start, disjoint, with gaps greater than zero, and within 0..`duration`.
///
/// A cut with an end that is not finite is dropped. The others are clamped, and dropped if empty. Cuts that overlap or
/// touch are merged.
std::vector<TimeSpan> merged(std::span<const TimeSpan> cuts, double duration);

/// The stretches of the recording that remain after the cuts, in order.
std::vector<TimeSpan> kept(double duration, std::span<const TimeSpan> cuts);

/// The position of a recording time on the output timeline. Returns nullopt when it is cut or outside the recording. The
/// very end of the recording maps to the end of the output.
std::optional<double> outputTime(double time, std::span<const TimeSpan> cuts, double duration);

/// The two subtitle formats.
enum class SubtitleFormat : std::uint8_t { subRip, webVtt };

/// A subtitle time stamp of `seconds`, rounded to milliseconds, never negative: 00:01:05.250 (WebVTT), 00:01:05,250
/// (SubRip). Hours do not wrap. NaN counts as 0; values outside the range of 64-bit milliseconds are clamped.
std::string stamp(double seconds, SubtitleFormat format);

/// A text as one line of a cue: line breaks, arrows and markup are replaced.
std::string cueText(std::string_view text);

/// The complete subtitle file of a project on the output timeline: one cue for every kept piece of every word.
std::string subtitles(const VideoProject& project, SubtitleFormat format);

/// `outputTime` prepared for many queries of the same cuts. Each query takes logarithmic time.
class OutputMap {
public:
    OutputMap(double duration, std::span<const TimeSpan> cuts);

    std::span<const TimeSpan> kept() const noexcept { return m_kept; }

    /// As `Timeline::outputTime`.
    std::optional<double> outputTime(double time) const;

    /// The index of the first kept stretch that ends after `time`, or the number of stretches.
    std::size_t firstEndingAfter(double time) const;

    /// Calls `visit` with every kept piece of `source`, mapped to the output timeline, in order.
    template <class Visit> void forEachPiece(const TimeSpan& source, Visit visit) const
    {
        for (std::size_t i = firstEndingAfter(source.start); i < m_kept.size() && m_kept[i].start < source.end; ++i) {
            const double start = std::max(source.start, m_kept[i].start);
            const double end = std::min(source.end, m_kept[i].end);
            if (!(start < end))
                continue;
            const double outputStart = start - m_kept[i].start + m_starts[i];
            visit(TimeSpan{.start = outputStart, .end = outputStart + (end - start)});
        }
    }

private:
    double m_duration;
    std::vector<TimeSpan> m_kept;
    std::vector<double> m_starts; ///< Running totals; one more entry than stretches. The last is the output's length.
};

} // namespace orvo::Timeline
