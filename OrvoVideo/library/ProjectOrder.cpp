#include "OrvoVideo/library/ProjectOrder.h"

#include "VideoCore/TextSearch.h"

#include <algorithm>
#include <chrono>

namespace orvo {

std::string_view textOf(ProjectOrder order)
{
    return projectOrderTexts[static_cast<std::size_t>(order)];
}

std::optional<ProjectOrder> parseProjectOrder(std::string_view text)
{
    const auto found = std::ranges::find(projectOrderTexts, text);
    return found == projectOrderTexts.end() ? std::nullopt
                                            : std::optional(static_cast<ProjectOrder>(found - projectOrderTexts.begin()));
}

bool comesBefore(ProjectOrder order, const VideoProject& a, const VideoProject& b)
{
    const auto before = [&](const auto& x, const auto& y) { return x != y ? x < y : a.id < b.id; };
    // Documents store whole seconds, so reloading a project must not change the order.
    const auto stored = [](DateTime time) { return std::chrono::floor<std::chrono::seconds>(time); };
    switch (order) {
    case ProjectOrder::created:
        return before(stored(b.createdAt), stored(a.createdAt));
    case ProjectOrder::updated:
        return before(stored(b.updatedAt), stored(a.updatedAt));
    case ProjectOrder::title:
        return before(folded(a.title), folded(b.title));
    case ProjectOrder::duration:
        return before(b.duration, a.duration);
    }
    return false;
}

} // namespace orvo
