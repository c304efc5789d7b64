#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"
#include "VideoMedia/RenderGraph.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <vector>

namespace orvo {

/// The source files of a film.
struct FilmSources {
    /// The decoding of an input.
    struct Decoding {
        bool isEasy = false; ///< As cheap to decode as the recorder's files. Larger movies and other codecs cost more.
        bool isRangeMeant = false; ///< Whether the default colour range has to be declared.
        bool isTurned = false; ///< Whether the file declares a rotation.
    };

    std::vector<RenderGraph::Input> inputs; ///< Ordered by start.
    std::vector<Decoding> decoding; ///< One for each input.
    std::vector<std::filesystem::path> images; ///< One for each image overlay, in document order.

    /// Probes every file. Blocks. Throws `Error` if a file is missing, has no stream that the film needs or is not a usable
    /// image, or if the film would have no visible video. `height` is that of the film.
    static FilmSources of(const VideoProject& project, const ProjectStore& store, const std::filesystem::path& ffmpeg,
        std::int64_t height, const MediaProbe& probe, const std::stop_token& stop);

    /// Whether `destination` is one of these files.
    bool contain(const std::filesystem::path& destination) const;
};

} // namespace orvo
