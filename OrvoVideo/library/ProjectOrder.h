#pragma once

#include "VideoCore/VideoProject.h"

#include <array>
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

/// The texts of the orders, in order, for the command line and the interface.
inline constexpr std::array<std::string_view, 4> projectOrderTexts{"created", "updated", "title", "duration"};

std::string_view textOf(ProjectOrder order);
std::optional<ProjectOrder> parseProjectOrder(std::string_view text);

/// Whether `a` sorts before `b`. The identifier breaks ties.
bool comesBefore(ProjectOrder order, const VideoProject& a, const VideoProject& b);

} // namespace orvo
