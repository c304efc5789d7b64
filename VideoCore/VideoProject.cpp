#include "VideoCore/VideoProject.h"

#include "VideoCore/Timeline.h"

#include <array>

namespace orvo {

namespace {

// Indexed by the enumeration's value.
constexpr std::array<std::string_view, 5> trackKindTexts{"screen", "camera", "microphone", "system", "clip"};
constexpr std::array<std::string_view, 3> pointerKindTexts{"move", "click", "zoom"};
constexpr std::array<std::string_view, 3> suggestionKindTexts{"silence", "filler", "zoom"};
constexpr std::array<std::string_view, 2> overlayKindTexts{"text", "image"};

template <typename Kind, std::size_t N>
std::optional<Kind> parseKind(const std::array<std::string_view, N>& texts, std::string_view text)
{
    for (std::size_t i = 0; i < N; ++i) {
        if (texts[i] == text)
            return static_cast<Kind>(i);
    }
    return std::nullopt;
}

} // namespace

std::string_view textOf(TrackKind kind)
{
    return trackKindTexts[static_cast<std::size_t>(kind)];
}

std::string_view textOf(PointerKind kind)
{
    return pointerKindTexts[static_cast<std::size_t>(kind)];
}

std::string_view textOf(SuggestionKind kind)
{
    return suggestionKindTexts[static_cast<std::size_t>(kind)];
}

std::string_view textOf(Overlay::Kind kind)
{
    return overlayKindTexts[static_cast<std::size_t>(kind)];
}

std::optional<TrackKind> parseTrackKind(std::string_view text)
{
    return parseKind<TrackKind>(trackKindTexts, text);
}

std::optional<PointerKind> parsePointerKind(std::string_view text)
{
    return parseKind<PointerKind>(pointerKindTexts, text);
}

std::optional<Overlay::Kind> parseOverlayKind(std::string_view text)
{
    return parseKind<Overlay::Kind>(overlayKindTexts, text);
}

std::span<const TrackKind> allTrackKinds()
{
    static constexpr std::array kinds{
        TrackKind::screen, TrackKind::camera, TrackKind::microphone, TrackKind::system, TrackKind::clip};
    return kinds;
}

double TimeSpan::duration() const noexcept
{
    const double length = end - start;
    return length >= 0 ? length : 0;
}

VideoProject VideoProject::make(std::string title)
{
    VideoProject project;
    project.id = Uuid::random();
    project.title = std::move(title);
    project.createdAt = now();
    project.updatedAt = project.createdAt;
    return project;
}

double VideoProject::playableDuration() const
{
    double sum = 0;
    for (const auto& span : Timeline::kept(duration, edit.cuts))
        sum += span.duration();
    return sum;
}

} // namespace orvo
