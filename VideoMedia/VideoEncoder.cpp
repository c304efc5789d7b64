#include "VideoMedia/VideoEncoder.h"

#include "VideoCore/Error.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/ProcessRunner.h"
#include "VideoMedia/ProgramTrials.h"

#include <algorithm>
#include <format>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// The encoder list of a program, as text.
std::string listOf(const fs::path& ffmpeg, const std::stop_token& stop)
{
    static std::mutex mutex;
    static std::map<ProgramTrials::Program, std::string> lists;

    const auto program = ProgramTrials::identityOf(ffmpeg);
    {
        const std::lock_guard lock(mutex);
        if (const auto known = lists.find(program); known != lists.end())
            return known->second;
    }
    std::string list = ProcessRunner::run(ffmpeg, ffmpegArguments({"-encoders"}), {}, 0, stop);
    const std::lock_guard lock(mutex);
    return lists.insert_or_assign(program, std::move(list)).first->second;
}

bool exists(const fs::path& path)
{
    std::error_code ignored;
    return fs::exists(path, ignored);
}

/// Whether this machine has a device that a hardware encoder could use.
bool mayWork(const VideoEncoder& encoder)
{
    return encoder.name == systemEncoder || exists("/dev/dri") || exists("/dev/nvidiactl") || exists("/dev/nvidia0");
}

/// Arguments that encode some frames as a task does.
Arguments trialOf(const VideoEncoder& encoder, const VideoEncoder::Task& task)
{
    Arguments line = ffmpegArguments({}, FfmpegLog::errors);
    append(line, encoder.device);
    append(line,
        {"-f", "lavfi", "-i", std::format("color=size={}x{}:rate={}", task.size.width, task.size.height, task.fps), "-vf",
            encoder.upload.empty() ? "null" : encoder.upload, "-frames:v", "3"});
    append(line, task.arguments(encoder));
    append(line, {"-f", "null", "-"});
    return line;
}

bool works(const fs::path& ffmpeg, const VideoEncoder& encoder, const VideoEncoder::Task& task, const std::stop_token& stop)
{
    return ProgramTrials::succeeds(ffmpeg, trialOf(encoder, task), stop);
}

} // namespace

std::vector<std::string> VideoEncoder::plainArguments(std::int64_t bitRate) const
{
    std::vector<std::string> line{"-c:v", name};
    line.insert(line.end(), options.begin(), options.end());
    line.insert(line.end(), {"-b:v", std::to_string(bitRate)});
    return line;
}

std::vector<std::string> VideoEncoder::arguments(std::int64_t bitRate) const
{
    std::vector<std::string> line = plainArguments(bitRate);
    // An uploaded frame already has the format of the hardware.
    if (upload.empty())
        line.insert(line.end(), {"-pix_fmt", "yuv420p"});
    return line;
}

std::vector<std::string> VideoEncoder::noFinerThan(int quantizer) const
{
    if (quantizerFloor.empty())
        return {};
    return {quantizerFloor, std::to_string(quantizer)};
}

VideoEncoder VideoEncoder::software()
{
    return {.name = "libx264", .device = {}, .upload = {}, .options = {"-preset", "veryfast"}, .quantizerFloor = "-qmin"};
}

std::vector<VideoEncoder> VideoEncoder::hardware()
{
    return {{.name = std::string(systemEncoder),
                .device = {},
                .upload = {},
                .options = {"-allow_sw", "1"},
                .quantizerFloor = {}},
        {.name = "h264_vaapi",
            .device = {"-init_hw_device", "vaapi=gpu", "-filter_hw_device", "gpu"},
            .upload = "format=nv12,hwupload",
            .options = {},
            .quantizerFloor = {}},
        // By default, later frames may reference frames before a forced key frame of the following ones.
        {.name = "h264_nvenc", .device = {}, .upload = {}, .options = {"-forced-idr", "1"}, .quantizerFloor = {}},
        {.name = "h264_qsv", .device = {}, .upload = {}, .options = {"-forced_idr", "1"}, .quantizerFloor = {}}};
}

void VideoEncoder::learn(const fs::path& ffmpeg, const std::stop_token& stop)
{
    listOf(ffmpeg, stop);
}

VideoEncoder VideoEncoder::find(const fs::path& ffmpeg, const Task& task, const std::stop_token& stop)
{
    const std::string list = listOf(ffmpeg, stop);
    for (auto& encoder : hardware()) {
        if (list.contains(" " + encoder.name + " ") && mayWork(encoder) && works(ffmpeg, encoder, task, stop))
            return std::move(encoder);
    }
    return software();
}

bool encodeWithBest(const fs::path& ffmpeg, std::span<const VideoEncoder::Task> tasks,
    const std::function<void(std::span<const VideoEncoder>)>& run, const std::stop_token& stop)
{
    std::vector<VideoEncoder> best;
    for (const auto& task : tasks)
        best.push_back(VideoEncoder::find(ffmpeg, task, stop));
    try {
        run(best);
        return false;
    } catch (const Error&) {
        const auto isSoftware = [](const VideoEncoder& encoder) { return encoder == VideoEncoder::software(); };
        if (std::ranges::all_of(best, isSoftware))
            throw;
    }
    run(std::vector(tasks.size(), VideoEncoder::software()));
    // Software succeeded, so the hardware was at fault, not the disk or a file.
    for (std::size_t n = 0; n < tasks.size(); ++n) {
        if (best[n] != VideoEncoder::software())
            ProgramTrials::setFailed(ffmpeg, trialOf(best[n], tasks[n]));
    }
    return true;
}

bool encodeWithBest(const fs::path& ffmpeg, const VideoEncoder::Task& task,
    const std::function<void(const VideoEncoder&)>& run, const std::stop_token& stop)
{
    return encodeWithBest(
        ffmpeg, std::span(&task, 1), [&](std::span<const VideoEncoder> encoders) { run(encoders.front()); }, stop);
}

} // namespace orvo
