#pragma once

#include "VideoMedia/HlsLadder.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>

/// Rendered films as sources of streaming packages.
namespace orvo::StreamedFilm {

/// Whether the frames of a film can be copied into a step of the ladder: H.264 of that size in 4:2:0, a key frame at
/// the beginning of every segment, and no segment above the bit rate that the master playlist declares for the step.
///
/// Reads the film once without decoding it. `scratch` is a file that it may write; it is removed. Throws `Cancelled`;
/// any other failure returns false.
bool holds(const std::filesystem::path& ffmpeg, const std::filesystem::path& film, const HlsLadder::Rendition& step,
    std::int64_t fps, const std::filesystem::path& scratch, const std::stop_token& stop = {});

/// Whether the sound of a film can be copied into all steps: AAC, mono or stereo, with no more than the bit rate that the
/// ladder plans for it. Throws as `holds`.
bool holdsSound(const std::filesystem::path& film, const std::stop_token& stop = {});

} // namespace orvo::StreamedFilm
