#pragma once

#include "VideoMedia/KeptSpans.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Parts of the text of filter graphs.
namespace orvo::RenderGraph::GraphText {

inline constexpr double minTime = 1e-4; ///< Seconds; shorter fades are omitted.

/// The chains of a graph file.
class Chains {
public:
    void add(std::string chain) { m_chains.push_back(std::move(chain)); }

    /// The whole graph.
    std::string text() const;

private:
    std::vector<std::string> m_chains;
};

/// "[NAMEn]".
std::string label(std::string_view name, std::size_t number);

/// `count` labels, numbered from `first`.
std::string labels(std::string_view name, std::size_t count, std::size_t first = 0);

/// Sorted spans with a margin around each, but none before 0; overlapping ones are merged.
std::vector<TimeSpan> widened(std::span<const TimeSpan> spans, double margin);

/// An expression that is true while a variable is within one of the sorted spans, ends included. It bisects them, because
/// a linear test of hundreds for every frame would be slow.
std::string within(std::string_view variable, std::span<const TimeSpan> spans);

/// ",afade=…" in and out at the ends of a span of `length` seconds.
std::string audioFades(const KeptSpan& kept, double length);

/// The filters that route one stream to the branches of kept spans.
struct Branches {
    std::string_view split, trim;
    char letter; ///< The prefix of its labels.
};

inline constexpr Branches videoBranches{.split = "split", .trim = "trim", .letter = 'v'};
inline constexpr Branches audioBranches{.split = "asplit", .trim = "atrim", .letter = 'a'};

/// Routes a stream to the branches of `spans`, numbered from `first`. `source` is the stream's label, followed by any
/// filters before the split.
///
/// Every branch that has not ended receives every frame, and for each of these ffmpeg scans all filters: the cost
/// per frame would grow with the square of the number of spans. Many spans are therefore divided into groups that
/// receive only the frames from their first span to their last. The last group comes first, like the spans.
void addBranches(
    Chains& chains, const std::string& source, const Branches& by, std::span<const TimeSpan> spans, std::size_t first = 0);

} // namespace orvo::RenderGraph::GraphText
