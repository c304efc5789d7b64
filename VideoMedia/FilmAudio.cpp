#include "VideoMedia/FilmAudio.h"

#include "VideoCore/FileIO.h"
#include "VideoMedia/ExportFormats.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/PipedRuns.h"
#include "VideoMedia/WorkFolder.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

// Latency of two filters of the mix, which ffmpeg does not compensate. Measured with clicks, in seconds.
constexpr double noiseReductionDelay = 0.025; ///< afftdn at 48 kHz.
constexpr double limiterDelay = 0.005; ///< alimiter with its default attack.

bool isMicrophone(const RenderGraph::Input& input)
{
    return input.track.kind == TrackKind::microphone;
}

} // namespace

FilmAudio::FilmAudio(fs::path ffmpeg, const VideoProject& project, std::span<const RenderGraph::Input> inputs,
    const ExportSettings& settings, fs::path work)
    : m_ffmpeg(std::move(ffmpeg))
    , m_project(project)
    , m_settings(settings)
    , m_work(std::move(work))
{
    std::ranges::copy_if(inputs, std::back_inserter(m_inputs), RenderGraph::isMixed);
}

void FilmAudio::mix(const fs::path& target, const std::stop_token& stop) const
{
    mix(target, {"-c:a", "pcm_s16le", "-f", "wav"}, stop);
}

void FilmAudio::make(const fs::path& target, const ProgressCallback& progress, const std::stop_token& stop) const
{
    const WorkFolder beside(fs::temp_directory_path(), "orvo-audio");
    const fs::path mixed = beside / "mixed.wav";
    PipedRuns::run(
        mixed, [&](const std::stop_token& either) { mix(mixed, either); },
        [&](const std::stop_token& either) { cut(mixed, target, progress, either); }, stop);
}

void FilmAudio::makeWith(
    PieceCache& cache, const std::string& version, const fs::path& target, const std::stop_token& stop) const
{
    const fs::path mixed = target.parent_path() / "mixed.flac";
    const std::string key = mixKey(version);
    if (!cache.take(key, mixed)) {
        mix(mixed, {"-c:a", "flac", "-sample_fmt", "s16", "-compression_level", "1"}, stop); // Lossless.
        cache.keep(key, mixed);
    }
    cut(mixed, target, {}, stop);
}

/// Latency of the mix in seconds.
double FilmAudio::delay() const
{
    return limiterDelay + (reducesNoise() ? noiseReductionDelay : 0);
}

bool FilmAudio::reducesNoise() const
{
    return m_project.edit.noiseReduction && std::ranges::any_of(m_inputs, isMicrophone);
}

/// The inputs of the mix, all delayed by the latency of the noise reduction on the microphone.
Arguments FilmAudio::inputArguments() const
{
    const bool late = reducesNoise();
    Arguments arguments;
    for (const auto& input : m_inputs) {
        if (late && !isMicrophone(input))
            append(arguments, {"-itsoffset", durationText(noiseReductionDelay)});
        append(arguments, {"-i", input.file.string()});
    }
    return arguments;
}

void FilmAudio::mix(const fs::path& target, const Arguments& encoder, const std::stop_token& stop) const
{
    const fs::path graph = m_work / "mix.txt";
    writeFileAtomically(graph, RenderGraph::audioMix(m_project, m_inputs, delay()));
    Arguments arguments = ExportFormats::commonArguments();
    append(arguments, inputArguments());
    append(arguments, {"-/filter_complex", graph.string(), "-map", "[mix]", "-vn", "-ar", "48000"});
    append(arguments, encoder);
    append(arguments, {"-t", durationText(m_project.duration), target.string()});
    ProcessRunner::run(m_ffmpeg, arguments, {}, 0, stop);
}

/// The cache key of the mix: a digest of everything that it depends on.
std::string FilmAudio::mixKey(const std::string& version) const
{
    PieceKey key(version);
    key.add("mix");
    key.add(RenderGraph::audioMix(m_project, m_inputs, delay()));
    key.add(durationText(m_project.duration));
    key.add(inputArguments());
    for (const auto& input : m_inputs)
        key.addFile(input.file);
    return key.finish();
}

/// Takes the kept spans out of the mix and encodes them.
void FilmAudio::cut(
    const fs::path& mixed, const fs::path& target, const ProgressCallback& progress, const std::stop_token& stop) const
{
    const fs::path graph = m_work / "audio.txt";
    writeFileAtomically(graph, RenderGraph::audio(m_project, m_settings.fps));
    const double playable = m_project.playableDuration();
    Arguments arguments = ExportFormats::commonArguments();
    if (mixed.extension() == ".wav")
        append(arguments, {"-max_size", packetSize});
    append(arguments, {"-i", mixed.string(), "-/filter_complex", graph.string(), "-map", "[aout]"});
    append(arguments, ExportFormats::audioArguments(m_settings));
    append(arguments, ExportFormats::containerArguments(m_settings.format));
    append(arguments, {"-t", numberText(playable), "-progress", "pipe:1", target.string()});
    ProcessRunner::run(m_ffmpeg, arguments, progress, playable, stop);
}

} // namespace orvo
