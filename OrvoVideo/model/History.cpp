#include "OrvoVideo/model/History.h"

#include "VideoCore/EditNames.h"

#include <algorithm>
#include <chrono>
#include <numeric>

namespace orvo {

template <typename T>
ListDelta<T>::ListDelta(const SharedList<T>& list, const CommonEnds& common)
    : m_common(common)
    , m_middle(
          list.begin() + static_cast<std::ptrdiff_t>(common.head), list.end() - static_cast<std::ptrdiff_t>(common.tail))
{
}

template <typename T> SharedList<T> ListDelta<T>::applyTo(const SharedList<T>& other) const
{
    const auto& b = other.items();
    if (m_middle.empty() && m_common.head + m_common.tail == b.size())
        return other;
    std::vector<T> items;
    items.reserve(m_common.head + m_middle.size() + m_common.tail);
    items.insert(items.end(), b.begin(), b.begin() + static_cast<std::ptrdiff_t>(m_common.head));
    items.insert(items.end(), m_middle.begin(), m_middle.end());
    items.insert(items.end(), b.end() - static_cast<std::ptrdiff_t>(m_common.tail), b.end());
    return SharedList<T>(std::move(items));
}

ProjectDelta::ProjectDelta(const ProjectChange& change)
    : m_version(change.before)
    , m_words(change.before.edit.words, change.words)
    , m_events(change.before.edit.events, change.events)
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

std::size_t ProjectDelta::bytes() const noexcept
{
    std::size_t sum = sizeof(ProjectDelta) + m_events.middle().size() * sizeof(PointerEvent);
    for (const auto& word : m_words.middle())
        sum += sizeof word + word.text.size();
    for (const auto& overlay : m_version.edit.overlays)
        sum += sizeof overlay + overlay.content.size();
    return sum + m_version.edit.cuts.size() * sizeof(TimeSpan) + m_version.tracks.size() * sizeof(MediaTrack);
}

bool areSameDocument(VideoProject a, VideoProject b)
{
    for (auto* project : {&a, &b}) {
        project->createdAt = std::chrono::floor<std::chrono::seconds>(project->createdAt);
        project->updatedAt = std::chrono::floor<std::chrono::seconds>(project->updatedAt);
    }
    return a == b;
}

void History::record(const VideoProject& before, const VideoProject& after, Trim trim, std::string name)
{
    const ProjectChange change(before, after);
    if (name.empty())
        name = EditNames::nameOf(change);
    if (name.empty())
        name = "sin cambios"; // Still a step.
    m_undo.push_back({.delta = ProjectDelta(change), .step = {.id = ++m_lastId, .name = std::move(name)}});
    if (trim == Trim::toLimit && m_undo.size() > limit)
        m_undo.erase(m_undo.begin(), m_undo.end() - limit);
    m_redo.clear();
}

void History::amend(const VideoProject& before, const VideoProject& after, Naming naming)
{
    m_redo.clear();
    if (m_undo.empty())
        return;
    auto& last = m_undo.back();
    const auto version = last.delta.applyTo(before);
    const ProjectChange change(version, after);
    last.delta = ProjectDelta(change);
    if (naming == Naming::keep)
        return;
    // A value that was dragged back to its start has no new name.
    if (auto name = EditNames::nameOf(change); !name.empty())
        last.step.name = std::move(name);
}

std::optional<VideoProject> History::move(std::deque<Entry>& from, std::deque<Entry>& to, const VideoProject& present)
{
    if (from.empty())
        return std::nullopt;
    auto version = from.back().delta.applyTo(present);
    to.push_back({.delta = ProjectDelta({present, version}), .step = std::move(from.back().step)});
    from.pop_back();
    return version;
}

std::optional<VideoProject> History::undo(const VideoProject& present)
{
    return move(m_undo, m_redo, present);
}

std::optional<VideoProject> History::redo(const VideoProject& present)
{
    return move(m_redo, m_undo, present);
}

std::optional<VideoProject> History::goTo(std::size_t position, const VideoProject& present)
{
    if (position == m_undo.size() || position > m_undo.size() + m_redo.size())
        return std::nullopt;
    std::optional<VideoProject> version;
    while (position != m_undo.size()) {
        const VideoProject& from = version ? *version : present;
        version = position < m_undo.size() ? undo(from) : redo(from);
    }
    return version;
}

std::vector<History::Step> History::steps() const
{
    std::vector<Step> steps;
    steps.reserve(m_undo.size() + m_redo.size());
    for (const auto& entry : m_undo)
        steps.push_back(entry.step);
    for (auto entry = m_redo.rbegin(); entry != m_redo.rend(); ++entry)
        steps.push_back(entry->step);
    return steps;
}

std::size_t History::bytes() const noexcept
{
    const auto add = [](std::size_t sum, const Entry& entry) { return sum + entry.delta.bytes() + entry.step.name.size(); };
    return std::accumulate(
        m_redo.begin(), m_redo.end(), std::accumulate(m_undo.begin(), m_undo.end(), std::size_t{0}, add), add);
}

void History::clear()
{
    m_undo.clear();
    m_redo.clear();
}

} // namespace orvo
