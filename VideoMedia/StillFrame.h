#pragma once

#include <filesystem>
#include <stop_token>

namespace orvo {

/// A frame of a movie's first video stream, to be written as a small image.
struct StillFrame {
    std::filesystem::path movie;
    double seconds = 0; ///< Time in the movie; the frame is the first one from there on.
    int height = 0; ///< Pixels. The width is even and keeps the proportions.
};

/// Writes the frame to `image`, a file whose name ends in ".jpg"; replaces an older one. Decodes on one thread, because
/// callers make many images beside other work.
///
/// Blocks. Throws as `ProcessRunner::requireFfmpeg` and `ProcessRunner::run`. A movie without a frame there may also leave
/// `image` as it was, depending on ffmpeg's version.
void writeStillFrame(const StillFrame& frame, const std::filesystem::path& image, const std::stop_token& stop = {});

} // namespace orvo
