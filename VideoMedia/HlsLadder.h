#pragma once

#include "VideoCore/VideoProject.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/VideoEncoder.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The quality steps of a streaming package, and how they are scaled and encoded. Pure functions.
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

/// The encoder options of a step, including the encoder's name, without forced key frames.
///
/// The bit rate holds for every half second, so that every segment respects the master playlist: bits saved for longer
/// would all be spent in one segment. The system encoder supports only the mean.
Arguments encoderArguments(const VideoEncoder& encoder, const Rendition& step);

/// The filter chains that scale the frames of the link `from` to each of `steps` in ascending order, as the links
/// "[step0]", "[step1]"…: each step from the next larger one. `uploads` has the filters that upload the frames of each step
/// to a hardware encoder; empty for most.
std::string scaling(std::string_view from, std::span<const Rendition> steps, std::span<const std::string> uploads);

/// The master playlist, which refers to the playlist of every step.
std::string masterPlaylist(std::span<const Rendition> ladder);

} // namespace orvo::HlsLadder
