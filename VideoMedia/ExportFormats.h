#pragma once

#include "VideoMedia/ExportService.h"
#include "VideoMedia/VideoEncoder.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// The parts of an export that depend on its format.
namespace orvo::ExportFormats {

/// The frame size and bit rate for a maximum file size. Text stays readable.
struct Limited {
    std::int64_t height = 0;
    std::int64_t bitRate = 0; ///< Video bits per second.
};

/// The limits for a film of `seconds` within `settings.maxBytes`. Throws `captureError` if no readable film fits.
Limited limited(const VideoProject& project, const ExportSettings& settings, double seconds);

/// The software encoder of WebM.
VideoEncoder webmEncoder();

/// The first arguments of every run of ffmpeg that renders.
std::vector<std::string> commonArguments();

/// The options after the graph that encode the audio.
std::vector<std::string> audioArguments(const ExportSettings& settings);
/// The options of the container.
std::vector<std::string> containerArguments(ExportFormat format);

/// Makes an animated image of a film. `palette` is a temporary file for its colours. Blocks; throws as `ProcessRunner::run`.
void makeGif(const std::filesystem::path& ffmpeg, const std::filesystem::path& film, const std::filesystem::path& palette,
    const std::filesystem::path& target, double seconds, const ProgressCallback& progress, const std::stop_token& stop);

} // namespace orvo::ExportFormats
