#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"

#include <filesystem>
#include <stop_token>

namespace orvo {

/// Writes all sound of a project into one wave file for speech recognition: one channel at 16 kHz, on the recording's own
/// timeline. Volumes and the sound settings of the export do not count; the sound of cameras is left out.
///
/// Blocks. Throws `captureError` with "FFmpeg no está instalado.", "El proyecto no contiene audio para transcribir.", what
/// the probe and `ProcessRunner::run` throw, and `Cancelled`.
void analysisAudio(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe,
    const std::filesystem::path& destination, const std::stop_token& stop = {});

} // namespace orvo
