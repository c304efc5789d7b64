#pragma once

#include "VideoMedia/MediaProbe.h"

namespace orvo {

/// Reads media facts with the `ffprobe` that belongs to the found `ffmpeg`: its durations are right for fragmented files
/// too.
///
/// Only real media containers are accepted, read from the file alone: a play list or a script that would have other files
/// or addresses opened in its place is refused.
class FfprobeMediaProbe final : public MediaProbe {
public:
    /// Throws as `MediaProbe::facts`; without `ffprobe`, `captureError` with "FFmpeg no está instalado.".
    MediaFacts facts(const std::filesystem::path& file, const std::stop_token& stop = {}) const override;
};

} // namespace orvo
