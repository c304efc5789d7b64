#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"

#include <filesystem>
#include <stop_token>

namespace orvo {

/// Writes all audio of a project into one wave file for speech recognition: one channel at 16 kHz, on the timeline of
/// the recording. Ignores volumes, the audio settings of the export and the audio of cameras.
///
/// Blocks. Throws `captureError` with "FFmpeg no está instalado." or "El proyecto no contiene audio para transcribir.",
/// everything that the probe and `ProcessRunner::run` throw, and `Cancelled`.
void analysisAudio(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe,
    const std::filesystem::path& destination, const std::stop_token& stop = {});

} // namespace orvo
