#pragma once

#include "VideoMedia/ExportService.h"
#include "VideoMedia/VideoEncoder.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// What differs from one format of an export to another.
namespace orvo::ExportFormats {

/// The size and rate that a size limit allows, so that the picture stays readable.
struct Limited {
    std::int64_t height = 0;
    std::int64_t bitRate = 0; ///< Of the picture, bits per second.
};

/// What `settings.maxBytes` leaves for a film of `seconds`. Throws `captureError` when it is too little for any picture.
Limited limited(const VideoProject& project, const ExportSettings& settings, double seconds);

/// The encoder of WebM, in software.
VideoEncoder webmEncoder();

/// The first arguments of every run of ffmpeg that renders.
std::vector<std::string> commonArguments();

/// The options after the graph that encode and pack the sound.
std::vector<std::string> audioArguments(const ExportSettings& settings);
/// Options of the container.
std::vector<std::string> containerArguments(ExportFormat format);

/// Makes an animated image of a film, with a palette of its own. Blocks; throws as `ProcessRunner::run`.
void makeGif(const std::filesystem::path& ffmpeg, const std::filesystem::path& film, const std::filesystem::path& palette,
    const std::filesystem::path& target, double seconds, const ProgressCallback& progress, const std::stop_token& stop);

} // namespace orvo::ExportFormats
