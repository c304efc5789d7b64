#pragma once

#include "VideoMedia/RenderGraph.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace orvo {

/// The part of an `ffmpeg` command line that encodes H.264: all that differs from one machine to another.
struct VideoEncoder {
    std::string name; ///< As `ffmpeg` names it.
    std::vector<std::string> device; ///< Options before the inputs that open the hardware; empty for most.
    std::string upload; ///< Filters that bring a picture of the graph to the hardware; empty for most.
    std::vector<std::string> options; ///< Options of the encoder, between its name and the bit rate.
    /// Option that names the smallest quantiser, on the scale of H.264; empty where the encoder has a measure of its own.
    std::string quantizerFloor;

    /// "-c:v" with the name and options, "-b:v" with `bitRate` in bits per second, and the pixel format.
    std::vector<std::string> arguments(std::int64_t bitRate) const;

    /// As `arguments`, in the pixel format that the picture already has.
    std::vector<std::string> plainArguments(std::int64_t bitRate) const;

    friend bool operator==(const VideoEncoder&, const VideoEncoder&) = default;

    /// Options that keep the encoder from spending bits on what is finer than `quantizer`, 0 to 51; none where it has no
    /// such option.
    std::vector<std::string> noFinerThan(int quantizer) const;

    /// The encoder to use with this `ffmpeg`: the system encoder "h264_videotoolbox" where it exists, else the first of
    /// VA-API, NVENC and Quick Sync that encodes frames of this size when tried, else the software encoder. Found once for
    /// each program and size and kept.
    ///
    /// Blocks for as long as the trials take. Throws as `ProcessRunner::run`.
    static VideoEncoder find(
        const std::filesystem::path& ffmpeg, RenderGraph::FrameSize size, const std::stop_token& stop = {});

    /// The software encoder, which works everywhere.
    static VideoEncoder software();
};

/// Calls `run` with the best encoder for frames of this size and, when that fails with any but the software encoder, once
/// more with that one, which is used for this size from then on. Returns whether it came to that.
///
/// Throws what `run` throws, as `VideoEncoder::find`, and `Cancelled`.
bool encodeWithBest(const std::filesystem::path& ffmpeg, RenderGraph::FrameSize size,
    const std::function<void(const VideoEncoder&)>& run, const std::stop_token& stop = {});

} // namespace orvo
