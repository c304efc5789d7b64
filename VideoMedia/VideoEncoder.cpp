#include "VideoMedia/VideoEncoder.h"

#include "VideoCore/Error.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/ProcessRunner.h"

#include <array>
#include <map>
#include <mutex>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

using FileKey = std::pair<fs::path, fs::file_time_type>;

VideoEncoder systemEncoder()
{
    return {.name = "h264_videotoolbox", .device = {}, .upload = {}, .options = {"-allow_sw", "1"}, .quantizerFloor = {}};
}

/// Hardware encoders, best first.
std::vector<VideoEncoder> hardwareEncoders()
{
    return {
        {.name = "h264_vaapi",
            .device = {"-init_hw_device", "vaapi=gpu", "-filter_hw_device", "gpu"},
            .upload = "format=nv12,hwupload",
            .options = {},
            .quantizerFloor = {}},
        {.name = "h264_nvenc", .device = {}, .upload = {}, .options = {}, .quantizerFloor = {}},
        {.name = "h264_qsv", .device = {}, .upload = {}, .options = {}, .quantizerFloor = {}},
    };
}

bool exists(const fs::path& path)
{
    std::error_code ignored;
    return fs::exists(path, ignored);
}

/// No hardware encoder works without one of these: where there is none, none is tried.
bool hasVideoHardware()
{
    return exists("/dev/dri") || exists("/dev/nvidiactl") || exists("/dev/nvidia0");
}

/// Encodes one small frame with the line that a render would use.
bool works(const fs::path& ffmpeg, const VideoEncoder& encoder, const std::stop_token& stop)
{
    Arguments line{"-hide_banner", "-nostdin", "-loglevel", "error"};
    append(line, encoder.device);
    const std::string upload = encoder.upload.empty() ? "null" : encoder.upload;
    append(line, {"-f", "lavfi", "-i", "color=size=256x256:rate=30", "-vf", upload, "-frames:v", "1"});
    append(line, encoder.arguments(1'000'000));
    append(line, {"-f", "null", "-"});
    return ProcessRunner::succeeds(ffmpeg, line, stop);
}

VideoEncoder choose(const fs::path& ffmpeg, const std::stop_token& stop)
{
    const std::string known = ProcessRunner::run(ffmpeg, {"-hide_banner", "-encoders"}, {}, 0, stop);
    const auto isKnown = [&](const VideoEncoder& encoder) { return known.contains(" " + encoder.name + " "); };
    if (isKnown(systemEncoder()))
        return systemEncoder();
    if (hasVideoHardware()) {
        for (const auto& encoder : hardwareEncoders()) {
            if (isKnown(encoder) && works(ffmpeg, encoder, stop))
                return encoder;
        }
    }
    return VideoEncoder::software();
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
    // An uploaded picture has the format of the hardware already.
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

VideoEncoder VideoEncoder::find(const fs::path& ffmpeg, const std::stop_token& stop)
{
    static std::mutex mutex;
    static std::map<FileKey, VideoEncoder> found;

    const FileKey key{fs::canonical(ffmpeg), fs::last_write_time(ffmpeg)};
    {
        const std::lock_guard lock(mutex);
        if (const auto known = found.find(key); known != found.end())
            return known->second;
    }
    VideoEncoder encoder = choose(ffmpeg, stop);
    const std::lock_guard lock(mutex);
    found.insert_or_assign(key, encoder);
    return encoder;
}

} // namespace orvo
