#include "VideoMedia/GraphText.h"

#include "VideoMedia/NumberText.h"

#include <algorithm>
#include <format>

namespace orvo::RenderGraph::GraphText {

namespace {

constexpr std::size_t maxBranches = 8; ///< Outputs of one split.

} // namespace

std::string Chains::text() const
{
    std::string result;
    for (const auto& chain : m_chains) {
        if (!result.empty())
            result += ";\n";
        result += chain;
    }
    return result;
}

std::string label(std::string_view name, std::size_t number)
{
    return std::format("[{}{}]", name, number);
}

std::string labels(std::string_view name, std::size_t count, std::size_t first)
{
    std::string result;
    for (std::size_t i = first; i < first + count; ++i)
        result += label(name, i);
    return result;
}

std::vector<TimeSpan> widened(std::span<const TimeSpan> spans, double margin)
{
    std::vector<TimeSpan> result;
    for (const auto& span : spans) {
        const TimeSpan wide{std::max(span.start - margin, 0.0), span.end + margin};
        if (!result.empty() && wide.start <= result.back().end)
            result.back().end = wide.end;
        else
            result.push_back(wide);
    }
    return result;
}

std::string within(std::string_view variable, std::span<const TimeSpan> spans)
{
    if (spans.size() == 1)
        return std::format("between({},{},{})", variable, numberText(spans.front().start), numberText(spans.front().end));
    const auto middle = spans.size() / 2;
    return std::format("if(lt({},{}),{},{})", variable, numberText(spans[middle].start),
        within(variable, spans.first(middle)), within(variable, spans.subspan(middle)));
}

std::string audioFades(const KeptSpan& kept, double length)
{
    std::string result;
    if (kept.audioIn >= minTime)
        result += std::format(",afade=t=in:d={}", durationText(kept.audioIn));
    if (kept.audioOut >= minTime)
        result += std::format(",afade=t=out:st={}:d={}", durationText(length - kept.audioOut), durationText(kept.audioOut));
    return result;
}

void addBranches(
    Chains& chains, const std::string& source, const Branches& by, std::span<const TimeSpan> spans, std::size_t first)
{
    if (spans.size() <= maxBranches) {
        chains.add(std::format(
            "{}{}={}{}", source, by.split, spans.size(), labels(std::format("{}branch", by.letter), spans.size(), first)));
        return;
    }
    std::size_t size = maxBranches;
    while (size * maxBranches < spans.size())
        size *= maxBranches;
    const auto groupLabel = [&](std::size_t from) {
        return std::format("[{}branch{}to{}]", by.letter, first + from, first + std::min(from + size, spans.size()) - 1);
    };
    const std::size_t count = (spans.size() + size - 1) / size;
    std::string groups;
    for (std::size_t n = 0; n < count; ++n)
        groups += groupLabel(n * size);
    chains.add(std::format("{}{}={}{}", source, by.split, count, groups));
    for (std::size_t n = count; n-- > 0;) {
        const auto group = spans.subspan(n * size, std::min(size, spans.size() - n * size));
        addBranches(chains,
            std::format("{}{}=start={}:end={},", groupLabel(n * size), by.trim, durationText(group.front().start),
                durationText(group.back().end)),
            by, group, first + n * size);
    }
}

} // namespace orvo::RenderGraph::GraphText
