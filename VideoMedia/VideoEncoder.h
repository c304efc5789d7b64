#pragma once

#include "VideoMedia/RenderGraph.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// What the user is told when the software encoder took over from hardware that failed.
inline constexpr std::string_view hardwareFailureText =
    "El codificador de la tarjeta gráfica ha fallado; se ha usado el del procesador.";

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

    /// What an encoder has to encode, and how: hardware has limits of its own for both.
    struct Task {
        RenderGraph::FrameSize size;
        std::int64_t fps = 30;
        /// The options by which an encoder is used, its name among them.
        std::function<std::vector<std::string>(const VideoEncoder&)> arguments;
    };

    /// The encoder to use with this `ffmpeg`: the first of the system encoder "h264_videotoolbox", VA-API, NVENC and Quick
    /// Sync that `ffmpeg` knows and that encodes some frames as `task` says, else the software encoder. The outcome of each
    /// trial is kept for the program, the size, the rate and the options.
    ///
    /// Blocks for as long as the trials take. Throws as `ProcessRunner::run`.
    static VideoEncoder find(const std::filesystem::path& ffmpeg, const Task& task, const std::stop_token& stop = {});

    /// The software encoder, which works everywhere.
    static VideoEncoder software();
};

/// As the other `encodeWithBest`, for one run that has several tasks: `run` receives an encoder for each. If it fails with a
/// hardware encoder among them, all of them are left to the software encoder.
bool encodeWithBest(const std::filesystem::path& ffmpeg, std::span<const VideoEncoder::Task> tasks,
    const std::function<void(std::span<const VideoEncoder>)>& run, const std::stop_token& stop = {});

/// Calls `run` with the encoder that `VideoEncoder::find` returns. If a hardware encoder fails, calls it once more with the
/// software encoder; when that succeeds, the hardware is not used for such a task again. Returns whether the software
/// encoder took over.
///
/// Throws what `run` throws, as `VideoEncoder::find`, and `Cancelled`.
bool encodeWithBest(const std::filesystem::path& ffmpeg, const VideoEncoder::Task& task,
    const std::function<void(const VideoEncoder&)>& run, const std::stop_token& stop = {});

} // namespace orvo
