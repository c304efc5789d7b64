#include "VideoCore/Labels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <format>
#include <utility>

namespace orvo {

std::string_view stateLabel(std::string_view state)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 8> labels{{
        {ProjectState::ready, "Listo"},
        {ProjectState::recording, "Grabando"},
        {ProjectState::recordingTab, "Grabando pestaña"},
        {ProjectState::processingTab, "Por preparar"},
        {ProjectState::recoverable, "Por recuperar"},
        {ProjectState::recoverableTab, "Por recuperar"},
        {ProjectState::needsRecovery, "Por recuperar"},
        {ProjectState::importFailed, "No se pudo importar"},
    }};
    const auto found = std::ranges::find(labels, state, [](const auto& entry) { return entry.first; });
    return found == labels.end() ? state : found->second;
}

std::string_view trackLabel(TrackKind kind)
{
    switch (kind) {
    case TrackKind::screen:
        return "Pantalla";
    case TrackKind::camera:
        return "Cámara";
    case TrackKind::microphone:
        return "Micrófono";
    case TrackKind::system:
        return "Sistema";
    case TrackKind::clip:
        return "Clip";
    }
    return {};
}

std::string sizeLabel(double bytes)
{
    if (bytes < 999.5)
        return std::format("{:.0f} bytes", bytes);
    if (bytes < 999.5e3)
        return std::format("{:.0f} kB", bytes / 1e3);
    const bool isMany = bytes >= 999.95e6;
    std::string number = std::format("{:.1f}", bytes / (isMany ? 1e9 : 1e6));
    std::ranges::replace(number, '.', ',');
    return number + (isMany ? " GB" : " MB");
}

std::string timeLabel(double seconds)
{
    const auto whole = std::isfinite(seconds) ? static_cast<long long>(std::max(seconds, 0.0)) : 0;
    return std::format("{:02}:{:02}", whole / 60, whole % 60);
}

std::string exactTimeLabel(double seconds)
{
    constexpr double rounding = 1e-6; // The binary form of a tenth may be slightly less than it.
    const auto tenths = std::isfinite(seconds) ? static_cast<long long>(std::max(seconds * 10 + rounding, 0.0)) : 0;
    const auto whole = tenths / 10;
    return std::format("{},{}", timeLabel(static_cast<double>(whole)), tenths % 10);
}

} // namespace orvo
