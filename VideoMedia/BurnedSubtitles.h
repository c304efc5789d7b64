#pragma once

#include "VideoCore/VideoProject.h"
#include "VideoMedia/ExportService.h"

#include <cstdint>
#include <string>

/// Subtitles burned into the frames.
namespace orvo::BurnedSubtitles {

/// The cues of a project as an Advanced SubStation Alpha document: at output times, at the lower edge of a frame of
/// `width` × `height` pixels, white in a dark box. Pure.
std::string document(const VideoProject& project, SubtitleCues cues, std::int64_t width, std::int64_t height);

} // namespace orvo::BurnedSubtitles
