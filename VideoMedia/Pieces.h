#pragma once

#include "VideoCore/VideoProject.h"
#include "VideoMedia/KeptSpans.h"

#include <cstdint>
#include <span>
#include <vector>

/// The pieces that a film can be rendered in. Pure functions.
///
/// Pieces follow the windows of the recording, not the time of the film, so a cut elsewhere moves a piece but does not
/// change it.
namespace orvo::RenderGraph {

/// The part of a kept span that a piece shows, in frames of the output rate on the recording timeline.
struct PiecePart {
    KeptSpan kept;
    std::int64_t spanFirst = 0; ///< First frame of the whole span.
    std::int64_t first = 0;
    std::int64_t last = 0; ///< The frame after the last one shown.

    friend bool operator==(const PiecePart&, const PiecePart&) = default;
};

/// A stretch of the film that is rendered separately. Has at least one part.
struct Piece {
    std::vector<PiecePart> parts; ///< In order.
    std::int64_t position = 0; ///< Its first frame in the film.
    bool zoomed = false; ///< Whether the film has zooms; every piece passes through the same filters as the whole film.

    /// The first frame of the recording that the piece shows, and the one after the last.
    std::int64_t first() const { return parts.front().first; }
    std::int64_t last() const { return parts.back().last; }

    /// Number of frames.
    std::int64_t length() const;
};

/// The pieces that show the kept spans of a project, in order: one for each window with at least a second of them. Shorter
/// remainders belong to the piece before.
std::vector<Piece> piecesOf(const VideoProject& project, std::int64_t fps);

/// The project without overlays, pointer events and zoom points that a piece does not show.
VideoProject shownIn(const VideoProject& project, const Piece& piece, std::int64_t fps);

} // namespace orvo::RenderGraph
