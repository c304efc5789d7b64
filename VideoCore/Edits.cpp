#include "VideoCore/Edits.h"

#include "VideoCore/DocumentSchema.h"
#include "VideoCore/Timeline.h"

#include <algorithm>
#include <tuple>
#include <type_traits>
#include <utility>

namespace orvo::Edits {

namespace {

template <typename T, typename Matches> T* findIf(SharedList<T>& list, Matches matches)
{
    // Searches the shared items first, so that a list without the element is not copied.
    const auto found = std::ranges::find_if(list, matches);
    if (found == list.end())
        return nullptr;
    const auto index = found - list.begin();
    return &list.edit()[static_cast<std::size_t>(index)];
}

template <typename T> T* find(SharedList<T>& list, const Uuid& id)
{
    return findIf(list, [&](const T& item) { return item.id == id; });
}

template <typename T, typename Matches> std::size_t removeIf(SharedList<T>& list, Matches matches)
{
    return std::ranges::any_of(list, matches) ? std::erase_if(list.edit(), matches) : 0;
}

template <typename T> std::size_t remove(SharedList<T>& list, const Uuid& id)
{
    return removeIf(list, [&](const T& item) { return item.id == id; });
}

template <typename T> bool set(SharedList<T>& list, const Uuid& id, double T::* field, double value)
{
    T* item = find(list, id);
    if (item)
        item->*field = value;
    return item != nullptr;
}

} // namespace

void cut(VideoProject& project, TimeSpan span)
{
    std::vector<TimeSpan> cuts = project.edit.cuts.items();
    cuts.push_back(span);
    project.edit.cuts = SharedList(Timeline::merged(cuts, project.duration));
}

std::size_t restore(VideoProject& project, TimeSpan span)
{
    return removeIf(project.edit.cuts, [&](const TimeSpan& stored) { return stored == span; });
}

bool moveCut(VideoProject& project, TimeSpan stored, TimeSpan span)
{
    if (restore(project, stored) == 0)
        return false;
    cut(project, span);
    return true;
}

bool correctWord(VideoProject& project, const Uuid& id, std::string text)
{
    TranscriptWord* word = find(project.edit.words, id);
    if (word)
        word->text = std::move(text);
    return word != nullptr;
}

Overlay makeOverlay(const VideoProject& project, Overlay::Kind kind, std::string content, double playhead)
{
    return {.kind = kind,
        .content = std::move(content),
        .start = playhead,
        .end = std::min(playhead + overlayLength, project.duration)};
}

PointerEvent makeZoom(double playhead)
{
    return {.time = playhead, .x = 0.5, .y = 0.5, .kind = PointerKind::zoom};
}

void apply(VideoProject& project, const EditSuggestion& suggestion)
{
    if (suggestion.event)
        project.edit.events.edit().push_back(*suggestion.event);
    else
        cut(project, suggestion.span);
}

std::size_t removeEvent(VideoProject& project, const Uuid& id)
{
    return remove(project.edit.events, id);
}

std::size_t removeOverlay(VideoProject& project, const Uuid& id)
{
    return remove(project.edit.overlays, id);
}

bool setEventValue(VideoProject& project, const Uuid& id, double PointerEvent::* field, double value)
{
    return set(project.edit.events, id, field, value);
}

bool setOverlayValue(VideoProject& project, const Uuid& id, double Overlay::* field, double value)
{
    return set(project.edit.overlays, id, field, value);
}

bool setVolume(VideoProject& project, const Uuid& trackId, double value)
{
    return set(project.tracks, trackId, &MediaTrack::volume, value);
}

bool setOverlayText(VideoProject& project, const Uuid& id, std::string text)
{
    Overlay* overlay = findIf(
        project.edit.overlays, [&](const Overlay& each) { return each.id == id && each.kind == Overlay::Kind::text; });
    if (overlay)
        overlay->content = std::move(text);
    return overlay != nullptr;
}

template <typename Value, typename Record> Value Record::* fieldNamed(std::string_view key)
{
    Value Record::* member = nullptr;
    const auto look = [&]<typename Type>(const schema::Field<Record, Type>& field) {
        if constexpr (std::is_same_v<Type, Value>) {
            if (key == field.key)
                member = field.member;
        }
    };
    std::apply([&](const auto&... fields) { (look(fields), ...); }, schema::fieldsOf<Record>);
    return member;
}

template bool EditState::* fieldNamed(std::string_view key);
template double EditState::* fieldNamed(std::string_view key);
template double Overlay::* fieldNamed(std::string_view key);
template double PointerEvent::* fieldNamed(std::string_view key);

} // namespace orvo::Edits
