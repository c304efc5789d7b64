#include "VideoMedia/Sharpening.h"

#include "VideoMedia/Arguments.h"
#include "VideoMedia/ProgramTrials.h"

#include <format>

namespace orvo::Sharpening {

bool hasQuickFilter(const std::filesystem::path& ffmpeg, const std::stop_token& stop)
{
    const auto graph = std::format("color=size=16x16:rate=1:duration=1,format=yuv420p,{}[sharp]", quickFilter);
    return ProgramTrials::succeeds(
        ffmpeg, ffmpegArguments({"-filter_complex", graph, "-map", "[sharp]", "-frames:v", "1", "-f", "null", "-"}), stop);
}

} // namespace orvo::Sharpening
