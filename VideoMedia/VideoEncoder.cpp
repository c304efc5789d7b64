#include "VideoMedia/VideoEncoder.h"

#include "VideoCore/Error.h"
#include "VideoMedia/Arguments.h"
#include "VideoMedia/ProcessRunner.h"

#include <array>
#include <format>
#include <map>
#include <mutex>
#include <optional>
#include <tuple>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

using Key = std::tuple<fs::path, fs::file_time_type, std::int64_t, std::int64_t>;

/// The encoders that were found, by program and size.
class Found {
public:
    std::optional<VideoEncoder> find(const Key& key)
    {
        const std::lock_guard lock(m_mutex);
        const auto known = m_encoders.find(key);
        return known == m_encoders.end() ? std::nullopt : std::optional(known->second);
    }
    void set(const Key& key, const VideoEncoder& encoder)
    {
        const std::lock_guard lock(m_mutex);
        m_encoders.insert_or_assign(key, encoder);
    }

private:
    std::mutex m_mutex;
    std::map<Key, VideoEncoder> m_encoders;
};

Found& found()
{
    static Found encoders;
    return encoders;
}

Key keyOf(const fs::path& ffmpeg, RenderGraph::FrameSize size)
{
    return {fs::canonical(ffmpeg), fs::last_write_time(ffmpeg), size.width, size.height};
}

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

/// Encodes some frames of the size with the line that a render would use: hardware has limits of its own for both.
bool works(const fs::path& ffmpeg, const VideoEncoder& encoder, RenderGraph::FrameSize size, const std::stop_token& stop)
{
    Arguments line{"-hide_banner", "-nostdin", "-loglevel", "error"};
    append(line, encoder.device);
    const std::string upload = encoder.upload.empty() ? "null" : encoder.upload;
    append(line,
        {"-f", "lavfi", "-i", std::format("color=size={}x{}:rate=30", size.width, size.height), "-vf", upload, "-frames:v",
            "3"});
    append(line, encoder.arguments(8'000'000));
    append(line, {"-f", "null", "-"});
    return ProcessRunner::succeeds(ffmpeg, line, stop);
}

VideoEncoder choose(const fs::path& ffmpeg, RenderGraph::FrameSize size, const std::stop_token& stop)
{
    const std::string known = ProcessRunner::run(ffmpeg, {"-hide_banner", "-encoders"}, {}, 0, stop);
    const auto isKnown = [&](const VideoEncoder& encoder) { return known.contains(" " + encoder.name + " "); };
    if (isKnown(systemEncoder()))
        return systemEncoder();
    if (hasVideoHardware()) {
        for (const auto& encoder : hardwareEncoders()) {
            if (isKnown(encoder) && works(ffmpeg, encoder, size, stop))
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

VideoEncoder VideoEncoder::find(const fs::path& ffmpeg, RenderGraph::FrameSize size, const std::stop_token& stop)
{
    const Key key = keyOf(ffmpeg, size);
    if (const auto known = found().find(key))
        return *known;
    VideoEncoder encoder = choose(ffmpeg, size, stop);
    found().set(key, encoder);
    return encoder;
}

bool encodeWithBest(const fs::path& ffmpeg, RenderGraph::FrameSize size, const std::function<void(const VideoEncoder&)>& run,
    const std::stop_token& stop)
{
    const auto best = VideoEncoder::find(ffmpeg, size, stop);
    try {
        run(best);
        return false;
    } catch (const Cancelled&) {
        throw;
    } catch (const Error&) {
        if (best == VideoEncoder::software())
            throw;
    }
    run(VideoEncoder::software());
    found().set(keyOf(ffmpeg, size), VideoEncoder::software());
    return true;
}

} // namespace orvo
