#pragma once

#include <cstdint>
#include <filesystem>
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
    /// VA-API, NVENC and Quick Sync that encodes a frame when tried, else the software encoder. Found once for each program
    /// and kept.
    ///
    /// Blocks for as long as the trials take. Throws as `ProcessRunner::run`.
    static VideoEncoder find(const std::filesystem::path& ffmpeg, const std::stop_token& stop = {});

    /// The software encoder, which works everywhere.
    static VideoEncoder software();
};

} // namespace orvo
