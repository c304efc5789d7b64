#include "VideoMedia/Pieces.h"

#include "VideoMedia/NumberText.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace orvo::RenderGraph {

std::int64_t Piece::length() const
{
    std::int64_t length = 0;
    for (const auto& part : parts)
        length += part.last - part.first;
    return length;
}

std::vector<Piece> piecesOf(const VideoProject& project, std::int64_t fps)
{
    const auto rate = static_cast<double>(fps);
    const std::int64_t windowLength = windowSeconds * fps;
    std::vector<Piece> windows;
    std::int64_t last = -1; // Window of the last piece.
    for (const auto& kept : keptSpans(project, fps)) {
        const auto begin = truncated(std::round(kept.span.start * rate));
        const auto end = truncated(std::round(kept.span.end * rate));
        for (std::int64_t at = begin; at < end;) {
            const std::int64_t window = at / windowLength;
            const std::int64_t until = std::min(end, (window + 1) * windowLength);
            if (windows.empty() || window != last)
                windows.emplace_back();
            windows.back().parts.push_back({.kept = kept, .spanFirst = begin, .first = at, .last = until});
            last = window;
            at = until;
        }
    }
    std::vector<Piece> pieces;
    for (auto& window : windows) {
        const bool follows =
            !pieces.empty() && window.first() / windowLength - (pieces.back().last() - 1) / windowLength <= 1;
        if (follows && window.length() < fps)
            std::ranges::copy(window.parts, std::back_inserter(pieces.back().parts));
        else
            pieces.push_back(std::move(window));
    }
    const bool zoomed = std::ranges::contains(project.edit.events, PointerKind::zoom, &PointerEvent::kind);
    std::int64_t position = 0;
    for (auto& piece : pieces) {
        piece.position = position;
        piece.zoomed = zoomed;
        position += piece.length();
    }
    return pieces;
}

VideoProject shownIn(const VideoProject& project, const Piece& piece, std::int64_t fps)
{
    // One more second at each end, because halos and the last pointer position outlast their events.
    const double start = static_cast<double>(piece.first()) / static_cast<double>(fps) - 1;
    const double end = static_cast<double>(piece.last()) / static_cast<double>(fps) + 1;
    // Each position of the pointer is shown until the next one.
    double before = -std::numeric_limits<double>::infinity();
    double after = std::numeric_limits<double>::infinity();
    for (const auto& event : project.edit.events) {
        if (event.kind == PointerKind::zoom)
            continue;
        if (event.time <= start)
            before = std::max(before, event.time);
        if (event.time >= end)
            after = std::min(after, event.time);
    }
    VideoProject shown = project;
    std::erase_if(shown.edit.events.edit(), [&](const PointerEvent& event) {
        if (event.kind == PointerKind::zoom)
            return !(event.time < end && event.time + event.duration > start);
        return event.time < before || event.time > after;
    });
    std::erase_if(
        shown.edit.overlays.edit(), [&](const Overlay& overlay) { return !(overlay.start < end && overlay.end > start); });
    shown.edit.words = {};
    shown.edit.cuts = {};
    return shown;
}

} // namespace orvo::RenderGraph
