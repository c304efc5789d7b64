#pragma once

#include "VideoMedia/MediaProbe.h"

namespace orvo {

/// Reads media facts with the `ffprobe` beside the found `ffmpeg`. Its durations are also correct for fragmented files.
///
/// Accepts only containers that hold media themselves. Rejects playlists and scripts, which could make it open other
/// files or addresses.
class FfprobeMediaProbe final : public MediaProbe {
public:
    /// Throws as `MediaProbe::facts`; without `ffprobe`, `captureError` with "FFmpeg no está instalado.".
    MediaFacts facts(const std::filesystem::path& file, const std::stop_token& stop = {}) const override;
};

} // namespace orvo
