#include "EditorGeometry/PreviewGeometry.h"

#include <algorithm>
#include <cmath>

namespace orvo::PreviewGeometry {

namespace {

constexpr double rampsPerSecond = 4; ///< A zoom ramps in and out over a quarter of a second.

double ramp(double seconds)
{
    return std::min(std::max(seconds * rampsPerSecond, 0.0), 1.0);
}

double offset(double size, double centre, double scale)
{
    return std::min(std::max(size * centre - size / (2 * scale), 0.0), size - size / scale);
}

double even(double value)
{
    return std::round(value / 2) * 2;
}

} // namespace

Zoom previewTransform(std::span<const PointerEvent> events, double time, Size size)
{
    const PointerEvent* zoom = nullptr;
    for (const auto& event : events) {
        if (event.kind == PointerKind::zoom && event.time <= time && time < event.time + event.duration
            && (!zoom || event.time > zoom->time))
            zoom = &event;
    }
    if (!zoom)
        return {};
    const double in = ramp(time - zoom->time);
    const double out = ramp(zoom->time + zoom->duration - time);
    const double scale = 1 + (zoom->scale - 1) * in * out;
    if (!(scale > 0))
        return {};
    return {scale, offset(size.width, zoom->x, scale), offset(size.height, zoom->y, scale)};
}

Rect magnifiedPart(const PointerEvent& zoom, Size size)
{
    constexpr double maxScale = 4; // The limit of an export.
    const double scale = std::clamp(std::isnan(zoom.scale) ? 1.0 : zoom.scale, 1.0, maxScale);
    return {.x = offset(size.width, zoom.x, scale),
        .y = offset(size.height, zoom.y, scale),
        .width = size.width / scale,
        .height = size.height / scale};
}

Rect fitted(Size view, Size frame)
{
    if (!(view.width > 0 && view.height > 0 && frame.width > 0 && frame.height > 0))
        return {};
    if (view.width * frame.height < view.height * frame.width) {
        const double height = view.width * frame.height / frame.width;
        return {0, (view.height - height) / 2, view.width, height};
    }
    const double width = view.height * frame.width / frame.height;
    return {(view.width - width) / 2, 0, width, view.height};
}

Rect cameraPlace(const EditState& edit, Size frame, Size camera)
{
    const double width = std::max(std::floor(std::trunc(edit.cameraWidth * frame.width) / 2) * 2, 2.0);
    const double shape = camera.width > 0 && camera.height > 0 ? camera.height / camera.width : 9.0 / 16;
    return {edit.cameraX * frame.width, edit.cameraY * frame.height, width, std::max(even(width * shape), 2.0)};
}

int textSize(std::int64_t frameHeight)
{
    return frameHeight > 503 ? static_cast<int>(frameHeight / 28) : 18;
}

void PointerTrail::show(const VideoProject& project)
{
    m_duration = project.duration;
    if (m_shown.sharesStorageWith(project.edit.events))
        return;
    m_shown = project.edit.events;
    m_places.clear();
    m_clicks.clear();
    m_zooms.clear();
    for (const auto& event : m_shown) {
        if (event.kind == PointerKind::zoom) {
            m_zooms.push_back(event);
            continue;
        }
        const Moment moment{event.time, {event.x, event.y}};
        m_places.push_back(moment);
        if (event.kind == PointerKind::click)
            m_clicks.push_back(moment);
    }
    // Recorded events are sorted already, and this runs on every change of a zoom point.
    for (auto* moments : {&m_places, &m_clicks}) {
        if (!std::ranges::is_sorted(*moments, {}, &Moment::time))
            std::ranges::stable_sort(*moments, {}, &Moment::time);
    }
}

std::optional<PointerTrail::Place> PointerTrail::at(double time) const
{
    const auto after = std::ranges::upper_bound(m_places, time, {}, &Moment::time);
    if (after == m_places.begin() || time >= m_duration)
        return std::nullopt;
    const auto& last = *std::prev(after);
    if (after == m_places.end() && time >= last.time + lastHold)
        return std::nullopt;
    return last.place;
}

std::vector<PointerTrail::Halo> PointerTrail::halos(double time) const
{
    std::vector<Halo> result;
    if (time >= m_duration)
        return result;
    auto click = std::ranges::upper_bound(m_clicks, time - haloLength, {}, &Moment::time);
    for (; click != m_clicks.end() && click->time <= time; ++click)
        result.push_back({click->place, (time - click->time) / haloLength});
    return result;
}

} // namespace orvo::PreviewGeometry
