#pragma once

#include "VideoCore/VideoProject.h"

#include <string>
#include <string_view>

/// Spanish labels of values, shared by the windows and the terminal.
namespace orvo {

/// The label of a project's state: "Listo", "Grabando", … Returns an unknown state unchanged.
std::string_view stateLabel(std::string_view state);

/// The label of a track: "Pantalla", "Cámara", …
std::string_view trackLabel(TrackKind kind);

/// A size in bytes as people read it, in decimal units: "950 bytes", "300 kB", "7,5 MB".
std::string sizeLabel(double bytes);

/// Whole minutes and seconds: "62:05". NaN and infinity give "00:00".
std::string timeLabel(double seconds);
/// With tenths, which are truncated: "62:05,4".
std::string exactTimeLabel(double seconds);

} // namespace orvo
