#pragma once

#include "VideoMedia/HlsLadder.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>

/// Rendered films as sources of streaming packages.
namespace orvo::StreamedFilm {

/// What of a film can be copied.
struct Copies {
    /// The frames, into a step of the ladder: H.264 of that size in 4:2:0, a key frame at the beginning of every segment,
    /// and no segment above the bit rate that the master playlist declares for the step.
    bool video = false;
    /// The audio, into all steps: AAC, mono or stereo, with about the bit rate that the ladder plans for it, or less.
    bool audio = false;
};

/// Reads a film once without decoding it. `scratch` is a file that it may write; it is removed. Throws `Cancelled`; what any
/// other failure leaves unknown cannot be copied.
Copies copiesInto(const HlsLadder::Rendition& step, std::int64_t fps, const std::filesystem::path& film,
    const std::filesystem::path& ffmpeg, const std::filesystem::path& scratch, const std::stop_token& stop = {});

} // namespace orvo::StreamedFilm
