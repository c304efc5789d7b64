#pragma once

#include "VideoCore/VideoProject.h"

#include <string_view>

/// What the values of a project are called in Spanish, in the windows and in the terminal.
namespace orvo {

/// The name of a project's state: "Listo", "Grabando", … An unknown state is its own name.
std::string_view stateLabel(std::string_view state);

/// The name of a track: "Pantalla", "Cámara", …
std::string_view trackLabel(TrackKind kind);

} // namespace orvo
