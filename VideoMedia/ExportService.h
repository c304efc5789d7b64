#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"
#include "VideoMedia/ProcessRunner.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>

namespace orvo {

/// How a project is rendered.
struct ExportSettings {
    std::int64_t height = 1080; ///< Asked height in pixels; the output is never larger than the project.
    std::int64_t fps = 30; ///< Output frames per second.
    std::string quality = "balanced"; ///< "small", "high", or anything else for "balanced".

    friend bool operator==(const ExportSettings&, const ExportSettings&) = default;
};

/// Renders projects with `ffmpeg`. Stateless; blocking calls for worker threads.
namespace ExportService {

/// Renders the whole edit of a project to the MP4 file `destination` (replaced when present) and writes the transcript as a
/// SubRip file of the same name beside it.
///
/// `progress` receives 0..1 during the final render. Intermediate files lie in a work folder inside the project's folder,
/// which is gone when the call ends, however it ends. A failed render may leave a part of `destination`; a cancelled one
/// does not.
///
/// Throws `captureError` with a text for the user (no usable `ffmpeg`, nothing visible to render, a missing file, a
/// destination that is no ".mp4" or is one of the project's own files, a failed `ffmpeg`), file system errors unchanged, and
/// `Cancelled`.
void exportVideo(const VideoProject& project, const ProjectStore& store, const std::filesystem::path& destination,
    const ExportSettings& settings, const MediaProbe& probe, const ProgressCallback& progress = {},
    const std::stop_token& stop = {});

/// The marks and texts that are burned into the picture, as an Advanced SubStation Alpha document: pointer, highlight, click
/// halos and text overlays, at recording times, for an output of `width` × `height` pixels. Pure.
std::string annotations(const VideoProject& project, std::int64_t width, std::int64_t height);

} // namespace ExportService

} // namespace orvo
