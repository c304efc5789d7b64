#include "OrvoVideo/model/KeptHistories.h"

#include <algorithm>
#include <utility>

namespace orvo {

void KeptHistories::keep(VideoProject present, History history)
{
    std::erase_if(m_kept, [&](const Kept& kept) { return kept.present.id == present.id; });
    if (!history.canUndo() && !history.canRedo())
        return;
    const std::size_t bytes = history.bytes();
    m_kept.push_back({.present = std::move(present), .history = std::move(history), .bytes = bytes});
    std::size_t sum = 0;
    for (const auto& kept : m_kept)
        sum += kept.bytes;
    while (m_kept.size() > maxProjects || (sum > maxBytes && !m_kept.empty())) {
        sum -= m_kept.front().bytes;
        m_kept.pop_front();
    }
}

std::optional<History> KeptHistories::take(const VideoProject& present)
{
    const auto kept = std::ranges::find(m_kept, present.id, [](const Kept& each) { return each.present.id; });
    if (kept == m_kept.end())
        return std::nullopt;
    std::optional<History> history;
    if (areSameDocument(kept->present, present))
        history = std::move(kept->history);
    m_kept.erase(kept);
    return history;
}

} // namespace orvo
