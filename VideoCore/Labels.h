#pragma once

#include "VideoCore/VideoProject.h"

#include <string_view>

/// Spanish labels for the values of a project, shared by the windows and the terminal.
namespace orvo {

/// The label of a project's state: "Listo", "Grabando", … Returns an unknown state unchanged.
std::string_view stateLabel(std::string_view state);

/// The label of a track: "Pantalla", "Cámara", …
std::string_view trackLabel(TrackKind kind);

} // namespace orvo
