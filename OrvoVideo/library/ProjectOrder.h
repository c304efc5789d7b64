#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace orvo {

/// Sort orders of the library.
enum class ProjectOrder : std::uint8_t {
    created, ///< Newest first.
    updated, ///< Last changed first.
    title, ///< Ignoring case and accents.
    duration, ///< Longest first.
};

/// "created", "updated", "title" or "duration".
std::string_view textOf(ProjectOrder order);
std::optional<ProjectOrder> parseProjectOrder(std::string_view text);

/// Whether `a` sorts before `b`. The identifier breaks ties.
bool comesBefore(ProjectOrder order, const VideoProject& a, const VideoProject& b);

} // namespace orvo
