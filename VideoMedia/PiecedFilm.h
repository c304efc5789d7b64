#pragma once

#include "VideoMedia/Arguments.h"
#include "VideoMedia/HlsLadder.h"
#include "VideoMedia/PieceCache.h"
#include "VideoMedia/Pieces.h"
#include "VideoMedia/ProcessRunner.h"
#include "VideoMedia/RenderGraph.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace orvo {

/// Renders a film in pieces, several in parallel, and reuses pieces of earlier exports.
///
/// The frames, their times and the audio are the same as in a film that is rendered whole.
class PiecedFilm {
public:
    /// An input with visible video.
    struct Source {
        RenderGraph::Input input;
        Arguments decoding; ///< Options before "-i".
        bool isTurned = false; ///< Whether the file declares a rotation, which ffmpeg applies only to inputs.
    };

    /// The content of the film and its encoding.
    struct Recipe {
        std::filesystem::path ffmpeg;
        std::string version; ///< Of ffmpeg; other versions do not share pieces.
        VideoProject project;
        std::vector<Source> sources; ///< One screen or clip, and optionally the camera.
        std::map<std::string, std::filesystem::path> images; ///< By the content of their overlays; stills only.
        RenderGraph::FrameSize size;
        std::int64_t fps = 30;
        bool quickSharpening = false; ///< See `RenderGraph::VideoSettings`.
        Arguments encoder; ///< Its name and options, except threads and forced key frames.
        Arguments container; ///< Options of the result.
        std::vector<HlsLadder::Rendition> steps; ///< Smaller films to encode from the same frames, ascending.
        int runs = 0; ///< Runs of ffmpeg side by side; 0 for as many as this machine has cores and memory for.
    };

    /// Makes the complete audio of the film in a file. Called on a thread of its own; throws what `ProcessRunner::run`
    /// throws.
    using MakeAudio = std::function<void(const std::filesystem::path& target, const std::stop_token& stop)>;

    /// Reads the first timestamps of the sources. Returns nullopt if the film has to be rendered whole: it is shorter than
    /// half a minute, ends after its clip, or a source is of a kind that cannot be read exactly from its middle.
    ///
    /// Throws `Cancelled` and `std::system_error` as `ProcessRunner::run`.
    static std::optional<PiecedFilm> of(Recipe recipe, const std::stop_token& stop = {});

    /// Writes the film to `target` and its pieces to the folder `work`, where they stay. Returns false, without a film, if
    /// the pieces do not fit together.
    ///
    /// Writes the films of the smaller steps beside it, as `ExportService::stepFilm` names them. A step is missing if its
    /// pieces do not fit together; all are missing if an earlier export has left so many pieces of the film alone that
    /// scaling the film takes less time than rendering those again.
    ///
    /// `progress` is called on the calling thread. Throws as `ProcessRunner::run`; the first failure ends all runs. Pieces
    /// that are complete stay in the cache.
    bool make(const std::filesystem::path& target, const std::filesystem::path& work, const MakeAudio& audio,
        PieceCache& cache, const ProgressCallback& progress = {}, const std::stop_token& stop = {}) const;

private:
    class Run;

    explicit PiecedFilm(Recipe recipe)
        : m_recipe(std::move(recipe))
    {
    }

    Recipe m_recipe;
    std::vector<RenderGraph::Piece> m_pieces;
};

} // namespace orvo
