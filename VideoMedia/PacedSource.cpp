#include "VideoMedia/PacedSource.h"

#include "VideoMedia/Arguments.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/ProgramTrials.h"
#include "VideoMedia/RenderGraph.h"

#include <algorithm>
#include <format>

namespace orvo::PacedSource {

std::string filter(const std::filesystem::path& file, double start, int threads)
{
    return std::format("movie=filename='{}':seek_point={}:dec_threads={}", RenderGraph::escapedPath(file.string()),
        durationText(std::max(start, 0.0)), threads);
}

bool isKnown(const std::filesystem::path& ffmpeg, const std::stop_token& stop)
{
    constexpr auto graph = "movie=filename='color=size=16x16\\:rate=1\\:duration=1':format_name=lavfi:dec_threads=1[out]";
    return ProgramTrials::succeeds(
        ffmpeg, ffmpegArguments({"-filter_complex", graph, "-map", "[out]", "-frames:v", "1", "-f", "null", "-"}), stop);
}

} // namespace orvo::PacedSource
