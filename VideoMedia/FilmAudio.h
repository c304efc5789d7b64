#pragma once

#include "VideoMedia/Arguments.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/PieceCache.h"
#include "VideoMedia/RenderGraph.h"

#include <filesystem>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace orvo {

/// Makes the audio of a film. All functions block, and throw as `ProcessRunner::run` and file system errors unchanged.
class FilmAudio {
public:
    /// Bytes per read of the mix, a sixth of a second: larger reads cost less time, but every branch of the graph buffers
    /// one.
    static constexpr auto packetSize = "32768";

    /// `project` and `settings` must outlive this object. `work` is a folder for its graphs.
    FilmAudio(std::filesystem::path ffmpeg, const VideoProject& project, std::span<const RenderGraph::Input> inputs,
        const ExportSettings& settings, std::filesystem::path work);

    /// Mixes all tracks, as long as the recording, into the WAV file or pipe `target`.
    void mix(const std::filesystem::path& target, const std::stop_token& stop) const;

    /// Makes the complete audio of the film: mixed, cut and encoded.
    void make(const std::filesystem::path& target, const ProgressCallback& progress, const std::stop_token& stop) const;

    /// As `make`, with the same samples, but caches the mix, which does not depend on the cuts. `version` identifies the
    /// ffmpeg in use.
    void makeWith(PieceCache& cache, const std::string& version, const std::filesystem::path& target,
        const std::stop_token& stop) const;

private:
    double delay() const;
    bool reducesNoise() const;
    Arguments inputArguments() const;
    void mix(const std::filesystem::path& target, const Arguments& encoder, const std::stop_token& stop) const;
    std::string mixKey(const std::string& version) const;
    void cut(const std::filesystem::path& mixed, const std::filesystem::path& target, const ProgressCallback& progress,
        const std::stop_token& stop) const;

    std::filesystem::path m_ffmpeg;
    const VideoProject& m_project;
    std::vector<RenderGraph::Input> m_inputs; ///< Those in the mix; opening the others would cost time and memory.
    const ExportSettings& m_settings;
    std::filesystem::path m_work;
};

} // namespace orvo
