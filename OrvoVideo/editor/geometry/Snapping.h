#pragma once

#include "VideoCore/VideoProject.h"

#include <optional>
#include <span>
#include <vector>

namespace orvo {

/// The edges of the timeline's items, to which drags snap. Times are seconds.
class Snapping {
public:
    /// Whether drags snap to words too. Zoomed out, words are so close together that every position would snap.
    enum class Words : bool { ignored, included };

    /// Takes the edges of the cuts, zoom points, overlays, words and of the recording. Costs nothing while the lists are
    /// unchanged.
    void show(const VideoProject& project);

    /// The edge nearest to `time` within `tolerance`, among those of the project and `others` (in any order); nullopt if
    /// there is none. Words count only if no other edge does. `ignored` holds the edges of the dragged item itself.
    std::optional<double> nearest(
        double time, double tolerance, Words words, std::span<const double> others, std::span<const double> ignored) const;

    /// The next or previous edge of a cut, a zoom point, an overlay or the recording; nullopt if there is none.
    std::optional<double> next(double time) const;
    std::optional<double> previous(double time) const;

private:
    SharedList<TimeSpan> m_cuts;
    SharedList<PointerEvent> m_events;
    SharedList<Overlay> m_overlays;
    SharedList<TranscriptWord> m_words;
    double m_duration = -1;

    std::vector<double> m_edges; ///< Sorted and unique.
    std::vector<double> m_wordEdges; ///< Sorted.
};

} // namespace orvo
