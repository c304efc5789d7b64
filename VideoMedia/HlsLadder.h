#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The quality steps of a streaming package. Pure functions.
namespace orvo::HlsLadder {

/// Seconds of a segment. Every segment of every step begins with a key frame, so that a player can change between them.
inline constexpr std::int64_t segmentSeconds = 6;

/// The options by which an encoder makes a key frame at the beginning of every segment.
std::vector<std::string> forcedKeyFrames();

/// One quality step.
struct Rendition {
    std::int64_t width = 0; ///< Pixels, even.
    std::int64_t height = 0; ///< Pixels, even; also the name of its folder.
    std::int64_t bitRate = 0; ///< Of the picture, bits per second.
    std::int64_t keyFrameInterval = 0; ///< Frames.
    std::int64_t bandwidth = 0; ///< What the master playlist declares, bits per second.

    friend bool operator==(const Rendition&, const Rendition&) = default;
};

/// The steps for a project, ascending: 480, 720, 1080, 1440 and 2160 up to its own height, or its own height alone when that
/// is less than 480.
///
/// Throws `captureError` for a project without a usable size or frame rate.
std::vector<Rendition> of(const VideoProject& project);

/// The text of the playlist that names every step's own.
std::string masterPlaylist(std::span<const Rendition> ladder);

} // namespace orvo::HlsLadder
