#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"
#include "VideoMedia/RenderGraph.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <vector>

namespace orvo {

/// The files that a film is made of.
struct FilmSources {
    /// How an input is decoded.
    struct Decoding {
        bool isEasy = false; ///< As cheap as the files of the recorder. Larger movies and other codecs are dearer.
        bool isRangeMeant = false; ///< Whether the usual colour range has to be declared.
    };

    std::vector<RenderGraph::Input> inputs; ///< In order of their starts.
    std::vector<Decoding> decoding; ///< Of each input.
    std::vector<std::filesystem::path> images; ///< One for each overlay of this kind, in their order.

    /// Looks at every file. Blocks. Throws `Error` if a file is missing, if one has not what the film shows of it, or if
    /// nothing would be visible in a film of `height` lines.
    static FilmSources of(const VideoProject& project, const ProjectStore& store, const std::filesystem::path& ffmpeg,
        std::int64_t height, const MediaProbe& probe, const std::stop_token& stop);

    /// Whether the film would be written over one of them.
    bool contain(const std::filesystem::path& destination) const;
};

} // namespace orvo
