#pragma once

#include "VideoCore/VideoProject.h"
#include "VideoMedia/ExportQuality.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Filter graphs of an export, in the syntax of ffmpeg filter scripts. Pure functions.
namespace orvo::RenderGraph {

struct Piece;

/// One input file of a render. Its position in the list is its input index.
struct Input {
    MediaTrack track;
    std::filesystem::path file;
    bool hasAudio = false;
    bool isMono = false; ///< Whether the audio has a single channel.
    bool hasVideo = true; ///< A clip without video shows black while its audio plays.
    bool fillsFrame = false; ///< Whether the video has the aspect ratio of the film.
    /// Timestamp of the first frame in the time base of its stream; for pieces, which are read from the middle of the file.
    std::int64_t firstTimestamp = 0;
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

/// The minimum quantiser of H.264 for a quality.
///
/// The bit rate suits video with much motion. On a mostly static screen the encoder would spend it on invisible
/// differences. Six quantiser steps double the bits, so the three values are spaced like the three bit rates.
int minQuantizer(ExportQuality quality);

/// Whether a track is a clip, which fills the frame and plays after the clips before it.
bool isVisibleVideo(const MediaTrack& track);

/// Whether the mix contains an input: it has audible audio and is not the camera.
bool isMixed(const Input& input);

/// The audio filter chain that mixes all audible inputs into one stereo stream "[mix]" at 48 kHz, exactly as long as
/// the recording. `delay` is the latency of the filters in seconds, which the mix compensates.
std::string audioMix(const VideoProject& project, std::span<const Input> inputs, double delay);

/// Inputs of the video graph besides the project.
struct VideoSettings {
    FrameSize size;
    std::int64_t fps = 30;
    std::filesystem::path annotations; ///< The document that is burned in.
    std::filesystem::path subtitles; ///< A document at output times that is burned in after the cuts; empty for none.
    std::string upload; ///< Filters that upload finished frames to a hardware encoder; empty for most.
    std::string camera; ///< Only in pieces: the source filter that reads the camera; empty if ffmpeg reads it as an input.
    bool quickSharpening = false; ///< Sharpens with `Sharpening::quickFilter`, which not every ffmpeg has.
};

/// The graph that produces "[vout]" and "[aout]". Its inputs are `inputs`, then the mixed audio, then one image for
/// each image overlay in document order. Drops frames inside cuts as early as possible.
std::string video(const VideoProject& project, std::span<const Input> inputs, const VideoSettings& settings);

/// The graph that produces "[vout]" with the frames of one piece, from time 0: the same frames as `video` gives for it.
/// `inputs` are those with visible video: one screen or clip, then the camera. They are read from any key frame before the
/// piece, with the timestamps of their files, and followed by one image for each image overlay of `project`, which is the
/// result of `shownIn`.
std::string pieceVideo(
    const VideoProject& project, std::span<const Input> inputs, const VideoSettings& settings, const Piece& piece);

/// The graph that produces the same "[aout]" as `video` from its only input, the mixed audio.
std::string audio(const VideoProject& project, std::int64_t fps);

/// Escapes a path for a single-quoted filter option.
std::string escapedPath(std::string_view path);

} // namespace orvo::RenderGraph
