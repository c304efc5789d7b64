#include "OrvoVideo/model/History.h"

#include <algorithm>

namespace orvo {

template <typename T>
ListDelta<T>::ListDelta(const SharedList<T>& list, const SharedList<T>& other)
    : m_same(list.sharesStorageWith(other))
{
    if (m_same)
        return;
    const auto& a = list.items();
    const auto& b = other.items();
    m_head = static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
    const auto longestTail = static_cast<std::ptrdiff_t>(std::min(a.size(), b.size()) - m_head);
    const auto mismatch = std::mismatch(a.rbegin(), a.rbegin() + longestTail, b.rbegin());
    m_tail = static_cast<std::size_t>(mismatch.first - a.rbegin());
    m_middle.assign(a.begin() + static_cast<std::ptrdiff_t>(m_head), a.end() - static_cast<std::ptrdiff_t>(m_tail));
}

template <typename T> SharedList<T> ListDelta<T>::applyTo(const SharedList<T>& other) const
{
    const auto& b = other.items();
    if (m_same || (m_middle.empty() && m_head + m_tail == b.size()))
        return other;
    std::vector<T> items;
    items.reserve(m_head + m_middle.size() + m_tail);
    items.insert(items.end(), b.begin(), b.begin() + static_cast<std::ptrdiff_t>(m_head));
    items.insert(items.end(), m_middle.begin(), m_middle.end());
    items.insert(items.end(), b.end() - static_cast<std::ptrdiff_t>(m_tail), b.end());
    return SharedList<T>(std::move(items));
}

ProjectDelta::ProjectDelta(const VideoProject& version, const VideoProject& other)
    : m_version(version)
    , m_words(version.edit.words, other.edit.words)
    , m_events(version.edit.events, other.edit.events)
{
    m_version.edit.words = {};
    m_version.edit.events = {};
}

VideoProject ProjectDelta::applyTo(const VideoProject& other) const
{
    VideoProject version = m_version;
    version.edit.words = m_words.applyTo(other.edit.words);
    version.edit.events = m_events.applyTo(other.edit.events);
    return version;
}

void History::record(const VideoProject& before, const VideoProject& after, Trim trim)
{
    m_undo.emplace_back(before, after);
    if (trim == Trim::toLimit && m_undo.size() > limit)
        m_undo.erase(m_undo.begin(), m_undo.end() - limit);
    m_redo.clear();
}

std::optional<VideoProject> History::step(
    std::vector<ProjectDelta>& from, std::vector<ProjectDelta>& to, const VideoProject& present)
{
    if (from.empty())
        return std::nullopt;
    auto version = from.back().applyTo(present);
    to.emplace_back(present, version);
    from.pop_back();
    return version;
}

void History::amend(const VideoProject& before, const VideoProject& after)
{
    m_redo.clear();
    if (!m_undo.empty())
        m_undo.back() = ProjectDelta(m_undo.back().applyTo(before), after);
}

std::optional<VideoProject> History::undo(const VideoProject& present)
{
    return step(m_undo, m_redo, present);
}

std::optional<VideoProject> History::redo(const VideoProject& present)
{
    return step(m_redo, m_undo, present);
}

void History::clear()
{
    m_undo.clear();
    m_redo.clear();
}

} // namespace orvo
