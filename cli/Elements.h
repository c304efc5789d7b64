#pragma once

#include "VideoCore/VideoProject.h"
#include "cli/ArgumentValues.h"

#include <cstdint>
#include <string_view>

namespace orvo::cli {

/// Limits of the values of an edit.
inline constexpr Range placeRange{-4, 4}; ///< Edges of images and texts, as fractions of the frame.
inline constexpr Range centreRange{0, 1}; ///< Centres of zooms, as fractions of the frame.
inline constexpr Range widthRange{0.001, 4}; ///< Widths, as fractions of the frame.
inline constexpr Range scaleRange{1, 4}; ///< Magnifications.
inline constexpr Range durationRange{0.01, 86'400}; ///< Durations of overlays and zooms, in seconds.
inline constexpr Range volumeRange{0, 16}; ///< Linear gains.
inline constexpr Range fadeRange{0, 60}; ///< Seconds.

/// An element of an edit with an identifier: an overlay or a pointer event.
struct Element {
    enum class Kind : std::uint8_t { overlay, event };

    Kind kind = Kind::overlay;
    Uuid id;
};

/// Finds the element that `reference` names. Throws `captureError` if there is none, `UsageError` as `findById`.
Element findElement(const VideoProject& project, std::string_view reference);

} // namespace orvo::cli
