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

/// The notice for the user when the software encoder replaced failing hardware.
inline constexpr std::string_view hardwareFailureText =
    "El codificador de la tarjeta gráfica ha fallado; se ha usado el del procesador.";

/// `ffmpeg`'s name of the operating system's encoder, which needs no device file and supports only a mean bit rate.
inline constexpr std::string_view systemEncoder = "h264_videotoolbox";

/// The H.264 encoder of an `ffmpeg` command line: the part that differs between machines.
struct VideoEncoder {
    std::string name; ///< As `ffmpeg` names it.
    std::vector<std::string> device; ///< Options before the inputs that open the hardware; empty for most.
    std::string upload; ///< Filters that upload frames of the graph to the hardware; empty for most.
    std::vector<std::string> options; ///< Options of the encoder, between its name and the bit rate.
    /// Option for the minimum quantiser on the scale of H.264; empty if the encoder uses another scale.
    std::string quantizerFloor;

    /// "-c:v" with the name and options, "-b:v" with `bitRate` in bits per second, and the pixel format.
    std::vector<std::string> arguments(std::int64_t bitRate) const;

    /// As `arguments`, but keeps the pixel format of the input.
    std::vector<std::string> plainArguments(std::int64_t bitRate) const;

    friend bool operator==(const VideoEncoder&, const VideoEncoder&) = default;

    /// Options that set the minimum quantiser, 0 to 51; empty if the encoder has no such option.
    std::vector<std::string> noFinerThan(int quantizer) const;

    /// The task of an encoder. Hardware limits apply to size, rate and options.
    struct Task {
        RenderGraph::FrameSize size;
        std::int64_t fps = 30;
        /// The encoder options, including its name.
        std::function<std::vector<std::string>(const VideoEncoder&)> arguments;
    };

    /// The hardware encoders of all machines, best first.
    static std::vector<VideoEncoder> hardware();

    /// The encoder for this `ffmpeg`: the first of `hardware` that `ffmpeg` offers and that encodes some frames of `task`,
    /// else the software encoder. Results are kept per program, size, rate and options.
    ///
    /// Blocks during the trials. Throws as `ProcessRunner::run`.
    static VideoEncoder find(const std::filesystem::path& ffmpeg, const Task& task, const std::stop_token& stop = {});

    /// Asks `ffmpeg` for its list of encoders ahead of `find`, which otherwise does. Throws as `ProcessRunner::run`.
    static void learn(const std::filesystem::path& ffmpeg, const std::stop_token& stop = {});

    /// The software encoder, which works on every machine.
    static VideoEncoder software();
};

/// As the other `encodeWithBest`, for one run with several tasks: `run` receives an encoder for each. If it fails and
/// any of them is a hardware encoder, all tasks fall back to the software encoder.
bool encodeWithBest(const std::filesystem::path& ffmpeg, std::span<const VideoEncoder::Task> tasks,
    const std::function<void(std::span<const VideoEncoder>)>& run, const std::stop_token& stop = {});

/// Calls `run` with the encoder from `VideoEncoder::find`. If a hardware encoder fails, calls it again with the
/// software encoder; if that succeeds, the hardware is not used again for such a task. Returns whether the software
/// encoder took over.
///
/// Throws what `run` throws, as `VideoEncoder::find`, and `Cancelled`.
bool encodeWithBest(const std::filesystem::path& ffmpeg, const VideoEncoder::Task& task,
    const std::function<void(const VideoEncoder&)>& run, const std::stop_token& stop = {});

} // namespace orvo
