#include "VideoMedia/AnalysisAudio.h"

#include "VideoCore/Error.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/ProcessRunner.h"

#include <cmath>
#include <format>
#include <string>

namespace orvo {

void analysisAudio(const VideoProject& project, const ProjectStore& store, const MediaProbe& probe,
    const std::filesystem::path& destination, const std::stop_token& stop)
{
    const auto ffmpeg = ProcessRunner::requireFfmpeg();

    Arguments arguments = ffmpegArguments({"-filter_complex_threads", "1"});
    std::string chains;
    std::string labels;
    int count = 0;
    for (const auto& track : project.tracks) {
        if (track.kind == TrackKind::camera)
            continue;
        const auto file = store.mediaURL(project, track.file);
        if (probe.facts(file, stop).audioStreams == 0)
            continue;
        arguments.insert(arguments.end(), {"-i", file.string()});
        chains += std::format("[{0}:a]aresample=16000:async=1:first_pts=0,asetpts=PTS-STARTPTS,adelay={1}:all=1[a{0}];",
            count, std::llrint(std::trunc(track.start * 1000)));
        labels += std::format("[a{}]", count);
        ++count;
    }
    if (count == 0)
        throw captureError("El proyecto no contiene audio para transcribir.");
    arguments.insert(arguments.end(),
        {"-filter_complex", std::format("{}{}amix=inputs={}:duration=longest:normalize=0[a]", chains, labels, count), "-map",
            "[a]", "-ac", "1", "-ar", "16000", destination.string()});
    ProcessRunner::run(ffmpeg, arguments, {}, 0, stop);
}

} // namespace orvo
