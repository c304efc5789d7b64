#include "OrvoVideo/capture/tracks/PictureEncoder.h"

#include "OrvoVideo/gstreamer/GstHandles.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <format>
#include <map>
#include <mutex>
#include <tuple>

namespace orvo {

namespace {

PictureEncoder software()
{
    // Without lookahead every frame is encoded at once: the file follows closely and memory stays small.
    return {.name = "x264enc",
        .options = "speed-preset=veryfast tune=zerolatency vbv-buf-capacity=2000",
        .bitRateOption = "bitrate",
        .keyFrameOption = "key-int-max"};
}

/// In order of preference.
std::array<PictureEncoder, 3> hardware()
{
    return {{
        {.name = "vah264enc",
            .options = "rate-control=vbr b-frames=0",
            .bitRateOption = "bitrate",
            .keyFrameOption = "key-int-max"},
        {.name = "nvh264enc",
            .options = "rc-mode=vbr bframes=0 zerolatency=true",
            .bitRateOption = "bitrate",
            .keyFrameOption = "gop-size"},
        {.name = "qsvh264enc",
            .options = "rate-control=vbr b-frames=0",
            .bitRateOption = "bitrate",
            .keyFrameOption = "gop-size"},
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

bool isInstalled(const PictureEncoder& encoder)
{
    const std::unique_ptr<GstElementFactory, GstRelease<gst_object_unref>> factory(
        gst_element_factory_find(encoder.name.c_str()));
    return factory != nullptr;
}

/// Encodes a few frames with the launch line of a recording.
bool works(const PictureEncoder& encoder, PictureSize size, int fps)
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
    const std::unique_ptr<GstMessage, GstRelease<gst_message_unref>> end(gst_bus_timed_pop_filtered(
        bus.get(), maxTrialTime, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return end && GST_MESSAGE_TYPE(end.get()) == GST_MESSAGE_EOS;
}

PictureEncoder choose(PictureSize size, int fps)
{
    if (hasVideoHardware()) {
        if (const auto found = PictureEncoder::firstThatWorks(hardware(), size, fps))
            return *found;
    }
    if (!isInstalled(software()))
        throw captureError("Falta el codificador de vídeo x264 de GStreamer.");
    return software();
}

} // namespace

std::string PictureEncoder::launchLine(std::int64_t bitRate, int keyFrameDistance) const
{
    const bool takesPlainPictures = name == "x264enc";
    return std::format("{}{} {} {}={} {}={} ! h264parse name=parser",
        takesPlainPictures ? "" : "videoconvert ! video/x-raw,format=NV12 ! ", name, options, bitRateOption, bitRate / 1000,
        keyFrameOption, keyFrameDistance);
}

PictureEncoder PictureEncoder::find(PictureSize size, int fps)
{
    static std::mutex mutex;
    static std::map<std::tuple<int, int, int>, PictureEncoder> known;
    startGStreamer();
    const std::lock_guard lock(mutex);
    const std::tuple form(size.width, size.height, fps);
    auto found = known.find(form);
    if (found == known.end())
        found = known.emplace(form, choose(size, fps)).first;
    return found->second;
}

std::optional<PictureEncoder> PictureEncoder::firstThatWorks(
    std::span<const PictureEncoder> candidates, PictureSize size, int fps)
{
    startGStreamer();
    const auto found = std::ranges::find_if(
        candidates, [&](const PictureEncoder& encoder) { return isInstalled(encoder) && works(encoder, size, fps); });
    return found == candidates.end() ? std::nullopt : std::optional(*found);
}

} // namespace orvo
