#pragma once

#include "VideoCore/ProjectChange.h"
#include "VideoCore/VideoProject.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace orvo {

/// A list stored as its difference to another list: a common head, a common tail, and its own items between.
template <typename T> class ListDelta {
public:
    /// `common` are the head and the tail that both lists share.
    ListDelta(const SharedList<T>& list, const CommonEnds& common);

    /// Restores the list from the other one.
    SharedList<T> applyTo(const SharedList<T>& other) const;
    /// The stored items.
    const std::vector<T>& middle() const noexcept { return m_middle; }

private:
    CommonEnds m_common;
    std::vector<T> m_middle;
};

/// A version of a project stored as its difference to another version: a change of one of 43,200 events stores one event.
class ProjectDelta {
public:
    /// Stores the version before the change, relative to the version after it.
    explicit ProjectDelta(const ProjectChange& change);

    /// Restores the version from the other one.
    VideoProject applyTo(const VideoProject& other) const;
    /// Approximate memory in bytes, without storage shared with other versions.
    std::size_t bytes() const noexcept;

private:
    VideoProject m_version; ///< Without its long lists.
    ListDelta<TranscriptWord> m_words;
    ListDelta<PointerEvent> m_events;
};

/// Whether two versions are the same document. Compares dates in whole seconds, as documents store them.
bool areSameDocument(VideoProject a, VideoProject b);

/// The undo and redo versions of the open project, with the names of the steps between them.
///
/// Each version is stored as its difference to its neighbour, so `undo`, `redo` and `goTo` need the version that was last
/// recorded or returned.
class History {
public:
    static constexpr std::size_t limit = 100;

    enum class Trim : std::uint8_t { toLimit, no };

    /// A change from one version to the next.
    struct Step {
        std::uint64_t id = 0; ///< Unique in this history; above 0.
        std::string name; ///< See `EditNames`.
    };

    /// Records a step from `before` to `after`, the new present version. Discards the redo steps, and with `Trim::toLimit`
    /// the oldest versions beyond the limit. Without a `name`, names the step after the differences.
    void record(const VideoProject& before, const VideoProject& after, Trim trim = Trim::toLimit, std::string name = {});

    enum class Naming : std::uint8_t { anew, keep };

    /// Extends the last step by a change from `before` to `after`, the new present version. Discards the redo steps.
    /// `Naming::anew` names the step after its total change.
    void amend(const VideoProject& before, const VideoProject& after, Naming naming);

    /// The version before or after `present`; nullopt without one.
    std::optional<VideoProject> undo(const VideoProject& present);
    std::optional<VideoProject> redo(const VideoProject& present);
    /// The version after this many steps; nullopt for the present version and if there are fewer steps.
    std::optional<VideoProject> goTo(std::size_t position, const VideoProject& present);

    bool canUndo() const noexcept { return !m_undo.empty(); }
    bool canRedo() const noexcept { return !m_redo.empty(); }
    /// The number of steps before the present version.
    std::size_t position() const noexcept { return m_undo.size(); }
    /// All steps, oldest first: the undo steps, then the redo steps.
    std::vector<Step> steps() const;
    /// The names of the steps that `undo` and `redo` would take; empty without one.
    std::string undoName() const { return m_undo.empty() ? std::string() : m_undo.back().step.name; }
    std::string redoName() const { return m_redo.empty() ? std::string() : m_redo.back().step.name; }

    /// Approximate memory of the versions in bytes.
    std::size_t bytes() const noexcept;

    void clear();

private:
    struct Entry {
        ProjectDelta delta;
        Step step;
    };

    static std::optional<VideoProject> move(std::deque<Entry>& from, std::deque<Entry>& to, const VideoProject& present);

    std::deque<Entry> m_undo; ///< Oldest first, each relative to the next, the last to the present.
    std::deque<Entry> m_redo; ///< Most recently undone last, each relative to the one before, the last to the present.
    std::uint64_t m_lastId = 0;
};

} // namespace orvo
