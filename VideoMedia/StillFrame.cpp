#include "VideoMedia/StillFrame.h"

#include "VideoMedia/Arguments.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/ProcessRunner.h"

#include <format>

namespace orvo {

void writeStillFrame(const StillFrame& frame, const std::filesystem::path& image, const std::stop_token& stop)
{
    ProcessRunner::run(ProcessRunner::requireFfmpeg(),
        ffmpegArguments({"-threads", "1", "-ss", durationText(frame.seconds), "-i", frame.movie.string(), "-map", "0:v:0",
                            "-frames:v", "1", "-vf", std::format("scale=-2:{}", frame.height), "-q:v", "4", "-f", "image2",
                            "-update", "1", image.string()},
            FfmpegLog::errors),
        {}, 0, stop);
}

} // namespace orvo
