#pragma once

#include "OrvoVideo/model/History.h"

#include <cstddef>
#include <list>
#include <optional>

namespace orvo {

/// The histories of projects that were open earlier in this session.
///
/// A history belongs to the version at which its project was left: it is lost if another program changes the project. Beyond
/// `maxProjects` histories or `maxBytes` in total, those left longest ago are discarded.
class KeptHistories {
public:
    static constexpr std::size_t maxProjects = 16;
    static constexpr std::size_t maxBytes = 64'000'000;

    /// Keeps the history of a project that is left at the version `present`.
    void keep(VideoProject present, History history);

    /// Removes and returns the history of a project that is opened again as `present`. Returns nullopt without one, or if
    /// the project has changed.
    std::optional<History> take(const VideoProject& present);

    /// Moves the history from the version `before` to `after`, a change by this program that `step` enters into the history.
    /// Discards a history of any other version of the project.
    template <typename Step> void follow(const VideoProject& before, const VideoProject& after, Step step)
    {
        if (auto history = take(before)) {
            step(*history);
            keep(after, std::move(*history));
        }
    }

private:
    struct Kept {
        VideoProject present;
        History history;
        std::size_t bytes = 0;
    };

    std::list<Kept> m_kept; ///< The most recently left is last.
};

} // namespace orvo
