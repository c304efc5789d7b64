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

/// A list as what it has that another has not: both begin and end alike, and `m_middle` stands between.
template <typename T> class ListDelta {
public:
    /// `common` is what both begin and end with.
    ListDelta(const SharedList<T>& list, const CommonEnds& common);

    /// The list, given the other one.
    SharedList<T> applyTo(const SharedList<T>& other) const;
    /// The items that are kept.
    const std::vector<T>& middle() const noexcept { return m_middle; }

private:
    CommonEnds m_common;
    std::vector<T> m_middle;
};

/// A version of a project as what it has that another version has not: a change of one of 43,200 events keeps one event.
class ProjectDelta {
public:
    /// The version before the change, which the one after it gives back.
    explicit ProjectDelta(const ProjectChange& change);

    /// The version, given the other one.
    VideoProject applyTo(const VideoProject& other) const;
    /// About how much memory it takes, without what it shares with other versions.
    std::size_t bytes() const noexcept;

private:
    VideoProject m_version; ///< Without its long lists.
    ListDelta<TranscriptWord> m_words;
    ListDelta<PointerEvent> m_events;
};

/// Whether two versions are one document, whatever their dates: documents keep whole seconds of them.
bool areSameDocument(VideoProject a, VideoProject b);

/// The versions of the open project that can be gone back and forth to, with the names of the steps between them.
///
/// Each is kept as its difference to its neighbour, so `undo`, `redo` and `goTo` must be given the version that was last
/// recorded or returned.
class History {
public:
    static constexpr std::size_t limit = 100;

    enum class Trim : std::uint8_t { toLimit, no };

    /// A change from one version to the next.
    struct Step {
        std::uint64_t id = 0; ///< Its own in this history; above 0.
        std::string name; ///< See `EditNames`.
    };

    /// A change from `before` to `after`, the present version from now on. What was undone is forgotten, and with
    /// `Trim::toLimit` the oldest versions beyond the limit. Without a `name` the step is named for what differs.
    void record(const VideoProject& before, const VideoProject& after, Trim trim = Trim::toLimit, std::string name = {});

    enum class Naming : std::uint8_t { anew, keep };

    /// A change from `before` to `after`, the present version from now on, that is part of the last step. What was undone is
    /// forgotten. `Naming::anew` names the step for everything that it changes by now.
    void amend(const VideoProject& before, const VideoProject& after, Naming naming);

    /// The version before `present`, which `redo` gives back; nothing when there is none.
    std::optional<VideoProject> undo(const VideoProject& present);
    std::optional<VideoProject> redo(const VideoProject& present);
    /// The version behind this many steps; nothing when there are fewer, and for the present one.
    std::optional<VideoProject> goTo(std::size_t position, const VideoProject& present);

    bool canUndo() const noexcept { return !m_undo.empty(); }
    bool canRedo() const noexcept { return !m_redo.empty(); }
    /// How many steps lie behind the present version.
    std::size_t position() const noexcept { return m_undo.size(); }
    /// All steps, oldest first: those that can be undone, then those that can be done again.
    std::vector<Step> steps() const;
    /// The names of the steps that `undo` and `redo` go; empty when there is none.
    std::string undoName() const { return m_undo.empty() ? std::string() : m_undo.back().step.name; }
    std::string redoName() const { return m_redo.empty() ? std::string() : m_redo.back().step.name; }

    /// About how much memory the versions take.
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
