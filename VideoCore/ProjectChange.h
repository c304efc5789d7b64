#pragma once

#include "VideoCore/VideoProject.h"

#include <algorithm>
#include <cstddef>
#include <ranges>
#include <span>

namespace orvo {

/// The lengths of the common beginning (`head`) and the common end (`tail`) of two lists. They do not overlap.
struct CommonEnds {
    std::size_t head = 0;
    std::size_t tail = 0;

    template <std::ranges::contiguous_range List> static CommonEnds of(const List& before, const List& after)
    {
        const std::span a(before.begin(), before.end());
        const std::span b(after.begin(), after.end());
        if (a.data() == b.data() && a.size() == b.size()) // Shared storage.
            return {.head = a.size(), .tail = 0};
        const auto head = std::ranges::mismatch(a, b).in1 - a.begin();
        const auto maxTail = static_cast<std::ptrdiff_t>(std::min(a.size(), b.size())) - head;
        const auto tail = std::mismatch(a.rbegin(), a.rbegin() + maxTail, b.rbegin()).first - a.rbegin();
        return {.head = static_cast<std::size_t>(head), .tail = static_cast<std::size_t>(tail)};
    }
};

/// A change from one version of a project to another, and its position in the long lists. Finding that reads every item, so
/// it is computed once. Refers to both versions.
struct ProjectChange {
    ProjectChange(const VideoProject& from, const VideoProject& to)
        : before(from)
        , after(to)
        , words(CommonEnds::of(from.edit.words, to.edit.words))
        , events(CommonEnds::of(from.edit.events, to.edit.events))
    {
    }

    const VideoProject& before;
    const VideoProject& after;
    CommonEnds words;
    CommonEnds events;
};

} // namespace orvo
