#include "OrvoVideo/library/ProjectOrder.h"

#include "VideoCore/TextSearch.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orvo {

namespace {

constexpr std::array<std::pair<ProjectOrder, std::string_view>, 4> names{{{ProjectOrder::created, "created"},
    {ProjectOrder::updated, "updated"}, {ProjectOrder::title, "title"}, {ProjectOrder::duration, "duration"}}};

} // namespace

std::string_view textOf(ProjectOrder order)
{
    return std::ranges::find(names, order, [](const auto& name) { return name.first; })->second;
}

std::optional<ProjectOrder> parseProjectOrder(std::string_view text)
{
    const auto found = std::ranges::find(names, text, [](const auto& name) { return name.second; });
    return found == names.end() ? std::nullopt : std::optional(found->first);
}

bool comesBefore(ProjectOrder order, const VideoProject& a, const VideoProject& b)
{
    switch (order) {
    case ProjectOrder::created:
        return a.createdAt > b.createdAt;
    case ProjectOrder::updated:
        return a.updatedAt > b.updatedAt;
    case ProjectOrder::title:
        return folded(a.title) < folded(b.title);
    case ProjectOrder::duration:
        return a.duration > b.duration;
    }
    return false;
}

} // namespace orvo
