#pragma once

#include "VideoMedia/Pieces.h"

#include <cstdint>
#include <string>

namespace orvo::RenderGraph {

/// The filters that darken the frames of a piece at the ends of the kept spans; empty if none is dark. The frames are
/// counted from 0 and have format yuv420p.
///
/// They do bit for bit what ffmpeg's filter "fade" does to each part in the whole film. But that takes a filter for each
/// end of each part, and computes every pixel. These take a filter for each degree of darkness, which all parts share, and
/// look the pixels up in a table.
std::string fading(const Piece& piece, std::int64_t fps);

} // namespace orvo::RenderGraph
