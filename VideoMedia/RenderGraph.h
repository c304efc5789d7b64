#pragma once

#include "VideoCore/VideoProject.h"
#include "VideoMedia/ExportQuality.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The filter graphs of an export as text, in the syntax of ffmpeg's filter graph files. Pure functions.
namespace orvo::RenderGraph {

/// One input file of a render. Its position in the list is its input index.
struct Input {
    MediaTrack track;
    std::filesystem::path file;
    bool hasAudio = false;
    bool hasVideo = true; ///< A clip without video shows black while it is heard.
};

/// The size of a render in pixels, both even.
struct FrameSize {
    std::int64_t width = 0;
    std::int64_t height = 0;

    friend bool operator==(const FrameSize&, const FrameSize&) = default;
};

/// The project's size scaled down to `height`, never up, truncated and rounded down to even numbers, at least 2.
FrameSize outputSize(const VideoProject& project, std::int64_t height);

/// Bits per second for a quality from pixels per second; at least 400,000.
std::int64_t videoBitRate(ExportQuality quality, FrameSize size, std::int64_t fps);

/// The smallest quantiser of H.264 that is worth its bits for a quality.
///
/// The bit rate is meant for pictures in which much moves; of a screen on which little does, an encoder would otherwise
/// write down differences that nobody can see. Six steps of the quantiser are twice the bits, so the three values lie as far
/// from one another as the three bit rates.
int smallestQuantizer(ExportQuality quality);

/// Whether a track is a clip that the render shows full-frame, one after another.
bool isVisibleVideo(const MediaTrack& track);

/// The chain of audio filters that mixes every audible input into one stereo stream "[mix]" at 48 kHz, exactly as long as
/// the recording. `delay` is by how many seconds the filters answer late; the mix makes up for it.
std::string audioMix(const VideoProject& project, std::span<const Input> inputs, double delay);

/// What the picture graph needs besides the project.
struct PictureSettings {
    FrameSize size;
    std::int64_t fps = 30;
    std::filesystem::path annotations; ///< The document that is burned in.
    std::filesystem::path subtitles; ///< A document at output times that is burned into what remains; empty for none.
    std::string upload; ///< Filters that hand the finished picture to a hardware encoder; empty for most.
};

/// The graph that makes "[vout]" and "[aout]". Its inputs are `inputs`, then the mixed sound, then one image for each image
/// overlay in document order. Frames that the cuts leave out are dropped as early as the steps before them allow.
std::string picture(const VideoProject& project, std::span<const Input> inputs, const PictureSettings& settings);

/// A path as the value of a filter's option inside apostrophes.
std::string escapedPath(std::string_view path);

} // namespace orvo::RenderGraph
