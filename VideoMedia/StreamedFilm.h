#pragma once

#include "VideoMedia/HlsLadder.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>

/// Rendered films as sources of streaming packages.
namespace orvo::StreamedFilm {

/// The parts of a film that can be copied.
struct Copies {
    /// The frames, into a step of the ladder: H.264 of that size in 4:2:0, a key frame at the beginning of every segment,
    /// and no segment above the bit rate that the master playlist declares for the step.
    bool video = false;
    /// The audio, into all steps: AAC, mono or stereo, with at most about the bit rate that the ladder plans for it.
    bool audio = false;
};

/// Reads a film once without decoding it. Writes the temporary file `scratch` and removes it. Throws `Cancelled`; after any
/// other failure, the parts not yet checked count as not copyable.
Copies copiesInto(const HlsLadder::Rendition& step, std::int64_t fps, const std::filesystem::path& film,
    const std::filesystem::path& ffmpeg, const std::filesystem::path& scratch, const std::stop_token& stop = {});

} // namespace orvo::StreamedFilm
