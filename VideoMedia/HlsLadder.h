#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The quality steps of a streaming package. Pure functions.
namespace orvo::HlsLadder {

/// Length of a segment in seconds. Every segment of every step begins with a key frame, so that players can switch
/// between steps.
inline constexpr std::int64_t segmentSeconds = 6;

/// The bit rate of AAC audio, bits per second.
inline constexpr std::int64_t audioBitRate = 128'000;

/// Encoder options that force a key frame at the beginning of every segment.
std::vector<std::string> forcedKeyFrames();

/// One quality step.
struct Rendition {
    std::int64_t width = 0; ///< Pixels, even.
    std::int64_t height = 0; ///< Pixels, even; also the name of its folder.
    std::int64_t bitRate = 0; ///< Video bits per second.
    std::int64_t keyFrameInterval = 0; ///< Frames.
    std::int64_t bandwidth = 0; ///< As the master playlist declares it, bits per second.

    friend bool operator==(const Rendition&, const Rendition&) = default;
};

/// The steps for a project, ascending: 480, 720, 1080, 1440 and 2160 lines up to the height of the project, or that
/// height alone if it is below 480.
///
/// Throws `captureError` for a project without a usable size or frame rate.
std::vector<Rendition> of(const VideoProject& project);

/// The master playlist, which refers to the playlist of every step.
std::string masterPlaylist(std::span<const Rendition> ladder);

} // namespace orvo::HlsLadder
