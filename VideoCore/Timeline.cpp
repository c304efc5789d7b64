#include "VideoCore/Timeline.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace orvo::Timeline {

namespace {

void appendNumber(std::string& out, std::int64_t value, std::size_t width)
{
    char digits[20];
    const auto [end, error] = std::to_chars(std::begin(digits), std::end(digits), value);
    const auto length = static_cast<std::size_t>(end - digits);
    if (length < width)
        out.append(width - length, '0');
    out.append(digits, length);
}

std::int64_t wholeMilliseconds(double seconds)
{
    const double rounded = std::round(seconds * 1000);
    if (!(rounded > 0))
        return 0;
    constexpr double limit = 9223372036854775807.0; // Rounds up to 2^63, which the conversion could not hold.
    return rounded < limit ? static_cast<std::int64_t>(rounded) : std::numeric_limits<std::int64_t>::max();
}

void appendStamp(std::string& out, double seconds, SubtitleFormat format)
{
    const std::int64_t ms = wholeMilliseconds(seconds);
    appendNumber(out, ms / 3'600'000, 2);
    out += ':';
    appendNumber(out, ms / 60'000 % 60, 2);
    out += ':';
    appendNumber(out, ms / 1000 % 60, 2);
    out += format == SubtitleFormat::webVtt ? '.' : ',';
    appendNumber(out, ms % 1000, 3);
}

/// Appends a word as cue text: replaces line breaks, markup and arrows that would be parsed as timings.
void appendCueText(std::string& out, std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.substr(i).starts_with("-->")) {
            out += "\u2192";
            i += 2;
            continue;
        }
        switch (text[i]) {
        case '\r':
            if (i + 1 < text.size() && text[i + 1] == '\n')
                ++i;
            [[fallthrough]];
        case '\n':
            out += ' ';
            break;
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out += text[i];
        }
    }
}

} // namespace

std::vector<TimeSpan> merged(std::span<const TimeSpan> cuts, double duration)
{
    std::vector<TimeSpan> result;
    result.reserve(cuts.size());
    for (const auto& cut : cuts) {
        if (!std::isfinite(cut.start) || !std::isfinite(cut.end))
            continue;
        const TimeSpan clamped{std::max(cut.start, 0.0), std::min(cut.end, duration)};
        if (clamped.end > clamped.start)
            result.push_back(clamped);
    }
    if (!std::ranges::is_sorted(result, {}, &TimeSpan::start)) // Stored cuts are sorted already, with few exceptions.
        std::ranges::stable_sort(result, {}, &TimeSpan::start);

    std::size_t count = 0; // Merged cuts, which overwrite the front of the list while it is read.
    for (const auto& cut : result) {
        if (count > 0 && cut.start <= result[count - 1].end)
            result[count - 1].end = std::max(result[count - 1].end, cut.end);
        else
            result[count++] = cut;
    }
    result.resize(count);
    return result;
}

std::vector<TimeSpan> kept(double duration, std::span<const TimeSpan> cuts)
{
    std::vector<TimeSpan> result;
    double cursor = 0;
    for (const auto& cut : merged(cuts, duration)) {
        if (cursor < cut.start)
            result.push_back({cursor, cut.start});
        cursor = cut.end;
    }
    if (cursor < duration)
        result.push_back({cursor, duration});
    return result;
}

OutputMap::OutputMap(double duration, std::span<const TimeSpan> cuts)
    : m_duration(duration)
    , m_kept(Timeline::kept(duration, cuts))
{
    m_starts.reserve(m_kept.size() + 1);
    double total = 0;
    for (const auto& span : m_kept) {
        m_starts.push_back(total);
        total += span.duration();
    }
    m_starts.push_back(total);
}

std::size_t OutputMap::firstEndingAfter(double time) const
{
    const auto found = std::ranges::upper_bound(m_kept, time, {}, &TimeSpan::end);
    return static_cast<std::size_t>(found - m_kept.begin());
}

std::optional<double> OutputMap::outputTime(double time) const
{
    const std::size_t index = firstEndingAfter(time);
    if (index < m_kept.size() && m_kept[index].start <= time)
        return time - m_kept[index].start + m_starts[index];
    if (time == m_duration)
        return m_starts.back();
    return std::nullopt;
}

std::optional<double> outputTime(double time, std::span<const TimeSpan> cuts, double duration)
{
    return OutputMap(duration, cuts).outputTime(time);
}

std::string stamp(double seconds, SubtitleFormat format)
{
    std::string result;
    appendStamp(result, seconds, format);
    return result;
}

std::string cueText(std::string_view text)
{
    std::string result;
    appendCueText(result, text);
    return result;
}

std::string subtitles(const VideoProject& project, SubtitleFormat format)
{
    const OutputMap map(project.duration, project.edit.cuts);

    std::string text;
    text.reserve(project.edit.words.size() * 56 + 16);
    bool first = true;
    // A blank line separates blocks, and one more line break ends the file.
    const auto beginBlock = [&] {
        if (!first)
            text += '\n';
        first = false;
    };
    if (format == SubtitleFormat::webVtt) {
        beginBlock();
        text += "WEBVTT\n";
    }
    std::int64_t counter = 0;
    for (const auto& word : project.edit.words) {
        map.forEachPiece({.start = word.start, .end = word.end}, [&](const TimeSpan& piece) {
            beginBlock();
            appendNumber(text, ++counter, 1);
            text += '\n';
            appendStamp(text, piece.start, format);
            text += " --> ";
            appendStamp(text, piece.end, format);
            text += '\n';
            appendCueText(text, word.text);
            text += '\n';
        });
    }
    text += '\n';
    return text;
}

} // namespace orvo::Timeline
