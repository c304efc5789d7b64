#pragma once

#include "VideoCore/VideoProject.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace orvo {

/// A list as what it has that another has not: both begin and end alike, and `m_middle` stands between.
template <typename T> class ListDelta {
public:
    ListDelta(const SharedList<T>& list, const SharedList<T>& other);

    /// The list, given the other one.
    SharedList<T> applyTo(const SharedList<T>& other) const;

private:
    bool m_same = false; ///< The list is the other one.
    std::size_t m_head = 0; ///< How many items both begin with.
    std::size_t m_tail = 0; ///< How many items both end with.
    std::vector<T> m_middle;
};

/// A version of a project as what it has that another version has not: a change of one of 43,200 events keeps one event.
class ProjectDelta {
public:
    ProjectDelta(const VideoProject& version, const VideoProject& other);

    /// The version, given the other one.
    VideoProject applyTo(const VideoProject& other) const;

private:
    VideoProject m_version; ///< Without its long lists.
    ListDelta<TranscriptWord> m_words;
    ListDelta<PointerEvent> m_events;
};

/// The versions of the open project that can be gone back and forth to.
///
/// Each is kept as its difference to its neighbour, so `undo` and `redo` must be given the version that was last recorded
/// or returned.
class History {
public:
    static constexpr std::size_t limit = 100;

    enum class Trim : std::uint8_t { toLimit, no };

    /// A change from `before` to `after`, the present version from now on. What was undone is forgotten, and with
    /// `Trim::toLimit` the oldest versions beyond the limit.
    void record(const VideoProject& before, const VideoProject& after, Trim trim = Trim::toLimit);

    /// A change from `before` to `after`, the present version from now on, that is part of the last step. What was undone is
    /// forgotten.
    void amend(const VideoProject& before, const VideoProject& after);

    /// The version before `present`, which `redo` gives back; nothing when there is none.
    std::optional<VideoProject> undo(const VideoProject& present);
    std::optional<VideoProject> redo(const VideoProject& present);

    bool canUndo() const noexcept { return !m_undo.empty(); }
    bool canRedo() const noexcept { return !m_redo.empty(); }

    void clear();

private:
    static std::optional<VideoProject> step(
        std::vector<ProjectDelta>& from, std::vector<ProjectDelta>& to, const VideoProject& present);

    std::vector<ProjectDelta> m_undo; ///< Oldest first, each relative to the next, the last to the present.
    std::vector<ProjectDelta>
        m_redo; ///< Most recently undone last, each relative to the one before, the last to the present.
};

} // namespace orvo
