#pragma once

#include "VideoCore/VideoProject.h"

#include <optional>
#include <span>
#include <vector>

namespace orvo {

/// The times at which things begin and end, to which what is dragged over a timeline holds on.
class Snapping {
public:
    /// Whether words hold, too; where they are too close to be told apart they would hold everywhere.
    enum class Words : bool { left, held };

    /// Takes the beginnings and ends of the cuts, the zoom points, the overlays and the words, and both ends of the
    /// recording. Costs nothing when the lists are the same as the last time.
    void show(const VideoProject& project);

    /// The time nearest to `time` that is no farther than `tolerance` from it, among those of the project and `others`
    /// (unordered); nothing when there is none. A time in `left` is that of the thing dragged itself, and does not hold.
    std::optional<double> nearest(
        double time, double tolerance, Words words, std::span<const double> others, std::span<const double> left) const;

    /// The next time after `time` (or the last one before it) at which a cut, a zoom point or an overlay begins or ends, or
    /// the recording does.
    std::optional<double> next(double time) const;
    std::optional<double> previous(double time) const;

private:
    SharedList<TimeSpan> m_cuts;
    SharedList<PointerEvent> m_events;
    SharedList<Overlay> m_overlays;
    SharedList<TranscriptWord> m_words;
    double m_duration = -1;

    std::vector<double> m_edges; ///< Sorted, without repetition.
    std::vector<double> m_wordEdges; ///< Sorted.
};

} // namespace orvo
