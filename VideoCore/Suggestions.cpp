#include "VideoCore/Suggestions.h"

#include "VideoCore/Timeline.h"
#include "VideoCore/Transcript.h"

#include <algorithm>
#include <array>
#include <utf8proc.h>

namespace orvo::Suggestions {

namespace {

constexpr std::array<std::string_view, 5> fillers{"eh", "em", "uh", "um", "mmm"};
constexpr std::size_t maxFillerLength = 3;

/// Whether a code point is trimmed from the ends of a word: punctuation, white space, line breaks.
bool isTrimmed(utf8proc_int32_t codePoint)
{
    switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_PC:
    case UTF8PROC_CATEGORY_PD:
    case UTF8PROC_CATEGORY_PS:
    case UTF8PROC_CATEGORY_PE:
    case UTF8PROC_CATEGORY_PI:
    case UTF8PROC_CATEGORY_PF:
    case UTF8PROC_CATEGORY_PO:
    case UTF8PROC_CATEGORY_ZS:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
        return true;
    default:
        return (codePoint >= 0x09 && codePoint <= 0x0D) || codePoint == 0x85;
    }
}

} // namespace

bool isFiller(std::string_view word)
{
    // Fillers are ASCII, so it is enough to compare lower-case code points.
    std::array<char, maxFillerLength> letters{};
    std::size_t count = 0; // Code points between the first and the last that are not trimmed.
    std::size_t trailing = 0; // Trimmed code points since then.
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(word.data());
    auto left = static_cast<utf8proc_ssize_t>(word.size());
    while (left > 0) {
        utf8proc_int32_t codePoint = 0;
        const auto length = utf8proc_iterate(bytes, left, &codePoint);
        if (length <= 0)
            return false;
        bytes += length;
        left -= length;
        if (isTrimmed(codePoint)) {
            trailing += count > 0;
            continue;
        }
        const auto lower = utf8proc_tolower(codePoint);
        if (trailing > 0 || count == maxFillerLength || lower > 'z' || lower < 'a')
            return false;
        letters[count++] = static_cast<char>(lower);
    }
    return std::ranges::contains(fillers, std::string_view(letters.data(), count));
}

std::vector<EditSuggestion> generate(const VideoProject& project)
{
    const auto& edit = project.edit;
    std::vector<EditSuggestion> result;

    std::vector<const TranscriptWord*> words;
    words.reserve(edit.words.size());
    for (const auto& word : edit.words)
        words.push_back(&word);
    std::ranges::stable_sort(words, {}, &TranscriptWord::start);

    double speechEnd = 0;
    for (const auto* word : words) {
        if (word->start - speechEnd > longPause) {
            result.push_back({.kind = SuggestionKind::silence,
                .span = {speechEnd + leadMargin, word->start - trailMargin},
                .label = "Pausa larga"});
        }
        if (isFiller(word->text)) {
            result.push_back(
                {.kind = SuggestionKind::filler, .span = {word->start, word->end}, .label = "Muletilla: " + word->text});
        }
        speechEnd = std::max(speechEnd, word->end);
    }
    if (!words.empty() && project.duration - speechEnd > longPause) {
        result.push_back(
            {.kind = SuggestionKind::silence, .span = {speechEnd + leadMargin, project.duration}, .label = "Pausa final"});
    }

    double lastZoom = -10;
    for (const auto& event : edit.events) {
        if (event.kind != PointerKind::click || !(event.time - lastZoom > zoomSpacing))
            continue;
        PointerEvent zoom = event;
        zoom.id = Uuid::random();
        zoom.kind = PointerKind::zoom;
        zoom.duration = zoomLength;
        result.push_back({.kind = SuggestionKind::zoom,
            .span = {event.time, std::min(event.time + zoomLength, project.duration)},
            .label = "Zoom en clic",
            .event = zoom});
        lastZoom = event.time;
    }
    return result;
}

namespace {

/// The last click, if it is so close to the end of the recording that it must have stopped it; otherwise nullptr.
const PointerEvent* clickThatStopped(const VideoProject& project)
{
    // Movies may follow the recording, so the end of the project is not its end.
    const auto screen = std::ranges::find(project.tracks, TrackKind::screen, &MediaTrack::kind);
    const bool hasLength = screen != project.tracks.end() && screen->duration > 0;
    const double end = hasLength ? screen->start + screen->duration : project.duration;
    const PointerEvent* last = nullptr;
    for (const auto& event : project.edit.events) {
        if (event.kind == PointerKind::click && event.time <= end && (!last || event.time > last->time))
            last = &event;
    }
    return last && last->time >= end - stopClick ? last : nullptr;
}

} // namespace

std::vector<EditSuggestion> offered(const VideoProject& project, std::span<const EditSuggestion> suggestions)
{
    std::vector<EditSuggestion> result;
    const auto merged = Timeline::merged(project.edit.cuts, project.duration);
    const PointerEvent* const stopped = clickThatStopped(project);
    std::vector<const PointerEvent*> zooms;
    for (const auto& event : project.edit.events) {
        if (event.kind == PointerKind::zoom)
            zooms.push_back(&event);
    }
    for (const auto& suggestion : suggestions) {
        if (suggestion.event) {
            const double time = suggestion.event->time;
            const bool isCut =
                std::ranges::any_of(merged, [&](const TimeSpan& cut) { return cut.start <= time && time < cut.end; });
            const bool isThere = std::ranges::any_of(zooms, [&](const PointerEvent* zoom) {
                return zoom->time < time + suggestion.event->duration && time < zoom->time + zoom->duration;
            });
            if (!isCut && !isThere && !(stopped && stopped->time == time))
                result.push_back(suggestion);
        } else if (Transcript::remaining(suggestion.span, merged) > std::min(minGain, suggestion.span.duration() / 2)) {
            result.push_back(suggestion);
        }
    }
    return result;
}

VideoProject applied(VideoProject project, std::span<const EditSuggestion> suggestions)
{
    std::vector<TimeSpan> cuts = project.edit.cuts.items();
    for (const auto& suggestion : suggestions) {
        if (suggestion.event)
            project.edit.events.edit().push_back(*suggestion.event);
        else
            cuts.push_back(suggestion.span);
    }
    if (cuts.size() != project.edit.cuts.size())
        project.edit.cuts = SharedList(Timeline::merged(cuts, project.duration));
    return project;
}

} // namespace orvo::Suggestions
