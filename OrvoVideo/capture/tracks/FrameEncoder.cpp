#include "OrvoVideo/capture/tracks/FrameEncoder.h"

#include "OrvoVideo/gstreamer/GstHandles.h"
#include "VideoCore/Error.h"
#include "VideoCore/ReleasedBy.h"
#include "VideoMedia/Cores.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <format>
#include <gst/allocators/gstdmabuf.h>
#include <gst/video/video-info-dma.h>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <tuple>
#include <vector>

namespace orvo {

namespace {

/// Pixels per second and core up to which x264 gets its preset `veryfast`, or `superfast`. Slow cores must keep up
/// as well, beside the recorded programs: on two of them, 1080p30 is below the first limit, and 1080p60 above both.
constexpr std::int64_t maxPixelsVeryFast = 32'000'000;
constexpr std::int64_t maxPixelsSuperFast = 48'000'000;

FrameEncoder x264(const char* preset)
{
    // Without lookahead every frame is encoded at once: the file follows closely and memory stays small.
    return {.name = "x264enc",
        .options = std::format("tune=zerolatency vbv-buf-capacity=2000 speed-preset={}", preset),
        .bitRateOption = "bitrate",
        .keyFrameOption = "key-int-max"};
}

/// Scales and converts frames on the graphics card, for `vah264enc`.
constexpr const char* fitterName = "vapostproc";

/// In order of preference.
std::array<FrameEncoder, 3> hardware()
{
    return {{
        {.name = "vah264enc",
            .options = "rate-control=vbr b-frames=0",
            .bitRateOption = "bitrate",
            .keyFrameOption = "key-int-max",
            .kind = FrameEncoder::Kind::hardware,
            .graphics = {.fitter = std::format("{} add-borders=true", fitterName), .memory = "memory:VAMemory"}},
        {.name = "nvh264enc",
            .options = "rc-mode=vbr bframes=0 zerolatency=true",
            .bitRateOption = "bitrate",
            .keyFrameOption = "gop-size",
            .kind = FrameEncoder::Kind::hardware},
        {.name = "qsvh264enc",
            .options = "rate-control=vbr b-frames=0",
            .bitRateOption = "bitrate",
            .keyFrameOption = "gop-size",
            .kind = FrameEncoder::Kind::hardware},
    }};
}

bool exists(const char* path)
{
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

/// Hardware encoders need one of these devices.
bool hasVideoHardware()
{
    return exists("/dev/dri") || exists("/dev/nvidiactl") || exists("/dev/nvidia0");
}

bool isInstalled(const FrameEncoder& encoder)
{
    const std::unique_ptr<GstElementFactory, ReleasedBy<gst_object_unref>> factory(
        gst_element_factory_find(encoder.name.c_str()));
    return factory != nullptr;
}

std::string codingLine(const FrameEncoder& encoder, std::int64_t bitRate, int keyFrameDistance)
{
    return std::format("{} {} {}={} {}={} ! h264parse", encoder.name, encoder.options, encoder.bitRateOption, bitRate / 1000,
        encoder.keyFrameOption, keyFrameDistance);
}

/// Encodes a few frames with the launch line of a recording.
bool works(const FrameEncoder& encoder, FrameSize size, int fps)
{
    constexpr GstClockTime maxTrialTime = 5 * GST_SECOND;
    const std::string line = std::format("videotestsrc num-buffers=4 ! video/x-raw,format=I420,width={},height={},"
                                         "framerate={}/1 ! {} ! fakesink sync=false",
        size.width, size.height, fps, encoder.launchLine(1'000'000, 60));
    GError* error = nullptr;
    GstElement* made = gst_parse_launch(line.c_str(), &error);
    const GstElementHandle pipeline(made ? GST_ELEMENT(gst_object_ref_sink(made)) : nullptr);
    if (error) {
        g_error_free(error);
        return false;
    }
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    const GstBusHandle bus(gst_element_get_bus(pipeline.get()));
    const std::unique_ptr<GstMessage, ReleasedBy<gst_message_unref>> end(gst_bus_timed_pop_filtered(
        bus.get(), maxTrialTime, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return end && GST_MESSAGE_TYPE(end.get()) == GST_MESSAGE_EOS;
}

/// Trial results and failures of this machine's encoders.
struct Known {
    std::mutex mutex; ///< Guards the members below.
    std::map<std::tuple<int, int, int>, FrameEncoder> best; ///< By width, height and frame rate.
    std::set<std::string> avoided;
    std::set<std::string> withoutGraphics;
};

Known& known()
{
    static Known known;
    return known;
}

/// The formats that an element accepts in graphics memory.
std::vector<GraphicsFormat> graphicsFormats(const char* name)
{
    std::vector<GraphicsFormat> formats;
    const std::unique_ptr<GstElementFactory, ReleasedBy<gst_object_unref>> factory(gst_element_factory_find(name));
    const GList* pads = factory ? gst_element_factory_get_static_pad_templates(factory.get()) : nullptr;
    for (; pads; pads = pads->next) {
        auto* pad = static_cast<GstStaticPadTemplate*>(pads->data);
        if (pad->direction != GST_PAD_SINK)
            continue;
        const GstCapsHandle caps(gst_static_pad_template_get_caps(pad));
        for (guint i = 0; i < gst_caps_get_size(caps.get()); ++i) {
            const GValue* values = gst_structure_get_value(gst_caps_get_structure(caps.get(), i), "drm-format");
            if (!values || !gst_caps_features_contains(gst_caps_get_features(caps.get(), i), GST_CAPS_FEATURE_MEMORY_DMABUF))
                continue;
            const auto add = [&](const GValue* value) {
                GraphicsFormat format;
                if (G_VALUE_HOLDS_STRING(value))
                    format.code = gst_video_dma_drm_fourcc_from_string(g_value_get_string(value), &format.modifier);
                if (format.code != 0)
                    formats.push_back(format);
            };
            if (!GST_VALUE_HOLDS_LIST(values))
                add(values);
            for (guint j = 0; GST_VALUE_HOLDS_LIST(values) && j < gst_value_list_get_size(values); ++j)
                add(gst_value_list_get_value(values, j));
        }
    }
    return formats;
}

FrameEncoder choose(FrameSize size, int fps, const std::set<std::string>& avoided)
{
    if (hasVideoHardware()) {
        std::vector<FrameEncoder> candidates;
        std::ranges::copy_if(hardware(), std::back_inserter(candidates),
            [&](const FrameEncoder& encoder) { return !avoided.contains(encoder.name); });
        if (auto found = FrameEncoder::firstThatWorks(candidates, size, fps)) {
            if (!found->graphics.fitter.empty())
                found->graphics.formats = graphicsFormats(fitterName);
            return *found;
        }
    }
    const auto encoder = FrameEncoder::software(size, fps, availableCores());
    if (!isInstalled(encoder))
        throw captureError("Falta el codificador de vídeo x264 de GStreamer.");
    return encoder;
}

} // namespace

FrameEncoder FrameEncoder::software(FrameSize size, int fps, int cores)
{
    const auto pixels = std::int64_t{size.width} * size.height * fps / std::max(cores, 1);
    if (pixels <= maxPixelsVeryFast)
        return x264("veryfast");
    return pixels <= maxPixelsSuperFast ? x264("superfast") : fastestSoftware();
}

FrameEncoder FrameEncoder::fastestSoftware()
{
    return x264("ultrafast cabac=true"); // Without CABAC, files are a tenth larger.
}

std::string FrameEncoder::launchLine(std::int64_t bitRate, int keyFrameDistance) const
{
    return (kind == Kind::software ? "" : "videoconvert ! video/x-raw,format=NV12 ! ")
        + codingLine(*this, bitRate, keyFrameDistance);
}

std::string FrameEncoder::graphicsLaunchLine(FrameSize size, std::int64_t bitRate, int keyFrameDistance) const
{
    return std::format("{} ! video/x-raw({}),format=NV12,width={},height={},pixel-aspect-ratio=1/1 ! ", graphics.fitter,
               graphics.memory, size.width, size.height)
        + codingLine(*this, bitRate, keyFrameDistance);
}

FrameEncoder FrameEncoder::find(FrameSize size, int fps)
{
    startGStreamer();
    auto& [mutex, best, avoided, withoutGraphics] = known();
    const std::lock_guard lock(mutex);
    const std::tuple form(size.width, size.height, fps);
    auto found = best.find(form);
    if (found == best.end())
        found = best.emplace(form, choose(size, fps, avoided)).first;
    auto encoder = found->second;
    if (withoutGraphics.contains(encoder.name))
        encoder.graphics.formats.clear();
    return encoder;
}

void FrameEncoder::avoidGraphics(const FrameEncoder& encoder)
{
    const std::lock_guard lock(known().mutex);
    known().withoutGraphics.insert(encoder.name);
}

void FrameEncoder::avoid(const FrameEncoder& encoder)
{
    auto& [mutex, best, avoided, withoutGraphics] = known();
    const std::lock_guard lock(mutex);
    avoided.insert(encoder.name);
    std::erase_if(best, [&](const auto& one) { return one.second.name == encoder.name; });
}

std::optional<FrameEncoder> FrameEncoder::firstThatWorks(std::span<const FrameEncoder> candidates, FrameSize size, int fps)
{
    startGStreamer();
    const auto found = std::ranges::find_if(
        candidates, [&](const FrameEncoder& encoder) { return isInstalled(encoder) && works(encoder, size, fps); });
    return found == candidates.end() ? std::nullopt : std::optional(*found);
}

} // namespace orvo
