#pragma once

#include "VideoMedia/HlsLadder.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>

/// A rendered film as the source of a streaming package.
namespace orvo::StreamedFilm {

/// Whether the frames of a film are what a step of the ladder needs, so that they can be copied into it: H.264 of the step's
/// size in the usual pixel format, a key frame at the beginning of every segment, and no segment of more bits than the
/// master playlist declares for the step.
///
/// Reads the film once, without decoding it; `scratch` is a file that it may write and removes. Throws `Cancelled`; whatever
/// else fails counts as no.
bool holds(const std::filesystem::path& ffmpeg, const std::filesystem::path& film, const HlsLadder::Rendition& step,
    std::int64_t fps, const std::filesystem::path& scratch, const std::stop_token& stop = {});

} // namespace orvo::StreamedFilm
