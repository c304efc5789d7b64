#include "VideoCore/Labels.h"

#include <algorithm>
#include <array>
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

} // namespace orvo
