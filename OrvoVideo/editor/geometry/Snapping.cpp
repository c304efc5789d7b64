#include "EditorGeometry/Snapping.h"

#include <algorithm>
#include <cmath>

namespace orvo {

namespace {

/// Edges closer than this, in seconds, are one step for `next` and `previous`.
constexpr double sameEdge = 0.001;

/// Keeps the candidate nearest to a time.
class Nearest {
public:
    Nearest(double time, double tolerance, std::span<const double> ignored)
        : m_time(time)
        , m_distance(tolerance)
        , m_ignored(ignored)
    {
    }

    void consider(double candidate)
    {
        const double distance = std::abs(candidate - m_time);
        if (!(distance <= m_distance) || std::ranges::find(m_ignored, candidate) != m_ignored.end())
            return;
        if (m_found && distance == m_distance)
            return;
        m_distance = distance;
        m_found = candidate;
    }

    /// Considers the candidates of a sorted list within the distance.
    void considerSorted(const std::vector<double>& sorted)
    {
        auto candidate = std::ranges::lower_bound(sorted, m_time - m_distance);
        for (; candidate != sorted.end() && *candidate <= m_time + m_distance; ++candidate)
            consider(*candidate);
    }

    std::optional<double> found() const { return m_found; }

private:
    double m_time;
    double m_distance;
    std::span<const double> m_ignored;
    std::optional<double> m_found;
};

} // namespace

void Snapping::show(const VideoProject& project)
{
    const auto& edit = project.edit;
    const auto sameTimes = [](const TranscriptWord& one, const TranscriptWord& other) {
        return one.start == other.start && one.end == other.end;
    };
    const bool sameEdges = m_words.sharesStorageWith(edit.words)
        ? m_wordEdges.empty() == edit.words.empty()
        : std::ranges::equal(m_words.items(), edit.words.items(), sameTimes);
    m_words = edit.words;
    if (!sameEdges) {
        m_wordEdges.clear();
        m_wordEdges.reserve(edit.words.size() * 2);
        for (const auto& word : edit.words) {
            m_wordEdges.push_back(word.start);
            m_wordEdges.push_back(word.end);
        }
        std::erase_if(m_wordEdges, [](double time) { return !std::isfinite(time); });
        std::ranges::sort(m_wordEdges);
    }
    if (m_duration == project.duration && m_cuts.sharesStorageWith(edit.cuts) && m_events.sharesStorageWith(edit.events)
        && m_overlays.sharesStorageWith(edit.overlays))
        return;
    m_duration = project.duration;
    m_cuts = edit.cuts;
    m_events = edit.events;
    m_overlays = edit.overlays;
    m_edges = {0, project.duration};
    for (const auto& cut : edit.cuts)
        m_edges.insert(m_edges.end(), {cut.start, cut.end});
    for (const auto& event : edit.events) {
        if (event.kind == PointerKind::zoom)
            m_edges.insert(m_edges.end(), {event.time, event.time + event.duration});
    }
    for (const auto& overlay : edit.overlays)
        m_edges.insert(m_edges.end(), {overlay.start, overlay.end});
    std::erase_if(m_edges, [&](double time) { return !(time >= 0 && time <= project.duration); });
    std::ranges::sort(m_edges);
    const auto repeated = std::ranges::unique(m_edges);
    m_edges.erase(repeated.begin(), repeated.end());
}

std::optional<double> Snapping::nearest(
    double time, double tolerance, Words words, std::span<const double> others, std::span<const double> ignored) const
{
    Nearest nearest(time, tolerance, ignored);
    for (const double other : others)
        nearest.consider(other);
    nearest.considerSorted(m_edges);
    // Words come last: the user placed the other edges on purpose.
    if (words == Words::included && !nearest.found())
        nearest.considerSorted(m_wordEdges);
    return nearest.found();
}

std::optional<double> Snapping::next(double time) const
{
    const auto found = std::ranges::upper_bound(m_edges, time + sameEdge);
    return found == m_edges.end() ? std::nullopt : std::optional(*found);
}

std::optional<double> Snapping::previous(double time) const
{
    const auto found = std::ranges::lower_bound(m_edges, time - sameEdge);
    return found == m_edges.begin() ? std::nullopt : std::optional(*std::prev(found));
}

} // namespace orvo
