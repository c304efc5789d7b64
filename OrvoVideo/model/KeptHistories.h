#pragma once

#include "OrvoVideo/model/History.h"

#include <cstddef>
#include <list>
#include <optional>

namespace orvo {

/// The histories of the projects that were left for another one in this session.
///
/// A history belongs to the version of the project that was left: one that was changed since by another program has none.
/// Those left longest ago are dropped beyond `maxProjects`, or when all of them take more than `maxBytes`.
class KeptHistories {
public:
    static constexpr std::size_t maxProjects = 16;
    static constexpr std::size_t maxBytes = 64'000'000;

    /// Keeps the history of a project that is left as it is in `present`.
    void keep(VideoProject present, History history);

    /// Hands out what was kept for a project that is opened again as `present`, and forgets it. Nothing when there is none,
    /// or when the project is not as it was left.
    std::optional<History> take(const VideoProject& present);

    /// The history kept for `before` belongs to `after` from now on, which this program has made of it; `step` does what has
    /// to be done with it. Another history of this project is forgotten.
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

    std::list<Kept> m_kept; ///< The one left last at the end.
};

} // namespace orvo
