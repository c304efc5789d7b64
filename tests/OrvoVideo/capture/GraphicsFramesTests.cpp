#include "OrvoVideo/capture/screen/ScreenStream.h"
#include "OrvoVideo/capture/tracks/SampleWriter.h"
#include "TestSupport/AudioWorld.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/Media.h"
#include "TestSupport/SharedScreen.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <atomic>
#include <gst/base/gstbasetransform.h>
#include <gst/video/gstvideometa.h>
#include <gtest/gtest.h>

namespace orvo::test {

namespace {

/// The format that the reader returns.
GstCaps* plainFormat(GstBaseTransform*, GstPadDirection from, GstCaps*, GstCaps*)
{
    return from == GST_PAD_SRC
        ? gst_caps_new_any()
        : gst_caps_from_string("video/x-raw,format=BGRx,width=320,height=180,framerate=30/1,pixel-aspect-ratio=1/1");
}

GstFlowReturn nameFormat(GstBaseTransform*, GstBuffer* buffer)
{
    gst_buffer_get_video_meta(buffer)->format = GST_VIDEO_FORMAT_BGRx;
    return GST_FLOW_OK;
}

void describe(gpointer type, gpointer)
{
    auto* element = static_cast<GstElementClass*>(type);
    for (const auto direction : {GST_PAD_SINK, GST_PAD_SRC})
        gst_element_class_add_pad_template(element,
            gst_pad_template_new(direction == GST_PAD_SINK ? "sink" : "src", direction, GST_PAD_ALWAYS, gst_caps_new_any()));
    gst_element_class_set_static_metadata(element, "reader", "Filter", "Reads memory where it lies", "tests");
    auto* transform = static_cast<GstBaseTransformClass*>(type);
    transform->transform_caps = plainFormat;
    transform->transform_ip = nameFormat;
    transform->transform_ip_on_passthrough = TRUE;
}

/// Registers a stand-in for the graphics card: an element that reads frames in their memory.
void registerReader()
{
    gst_init(nullptr, nullptr);
    const GType type = g_type_register_static_simple(
        GST_TYPE_BASE_TRANSFORM, "TestGraphicsReader", sizeof(GstBaseTransformClass), describe, sizeof(GstBaseTransform),
        [](GTypeInstance* reader, gpointer) {
            gst_base_transform_set_passthrough(reinterpret_cast<GstBaseTransform*>(reader), TRUE);
        },
        static_cast<GTypeFlags>(0));
    gst_element_register(nullptr, "testgraphicsreader", GST_RANK_NONE, type);
}

constexpr const char* reader = "testgraphicsreader ! videoconvert ! videoscale";

TEST(GraphicsFramesTests, PassesGraphicsMemoryOrFallsBackToPlainMemory)
{
    registerReader();
    const AudioWorld world; // Its PipeWire serves the streams.
    struct Case {
        const char* what;
        std::string fitter;
        bool isRead;
        std::optional<SharedScreen::Part> window = {};
    };
    for (const auto& [what, fitter, isRead, window] : {
             Case{"readable", reader, true},
             Case{"not importable", "identity", false},
             Case{"readable for 20 frames only", std::string("identity error-after=20 ! ") + reader, false},
             Case{"larger than the window", reader, false, SharedScreen::Part{40, 20, 160, 90}},
         }) {
        const FrameEncoder encoder{.name = "x264enc",
            .options = "tune=zerolatency speed-preset=ultrafast",
            .bitRateOption = "bitrate",
            .keyFrameOption = "key-int-max",
            .kind = FrameEncoder::Kind::hardware,
            .graphics = {.fitter = fitter,
                .memory = "memory:SystemMemory",
                .formats = {{.code = GraphicsFormat::codeOf("XR24"), .modifier = GraphicsFormat::linear}}}};
        SharedScreen screen({.width = 320, .height = 180, .window = window, .graphics = true});
        const TemporaryFolder folder;
        SampleWriter writer(folder / "screen.mov", {.size = FrameSize{160, 90}, .encoder = encoder});
        std::atomic<int> delivered = 0;
        std::atomic<bool> hasEnded = false;
        std::optional<CaptureTime> origin;
        auto stream = ScreenStream::open(
            {.id = "d1",
                .rect = {.width = 320, .height = 180},
                .stream = std::make_shared<const PipeWireStream>(SharedScreen::connection(), screen.node())},
            {.size = {160, 90}, .graphics = encoder.graphics.formats});
        stream->start({.frame =
                           [&](const CapturedFrame& frame) {
                               if (!origin)
                                   origin = frame.time;
                               writer.append(frame, *origin);
                               ++delivered;
                           },
            .ended = [&](const std::exception_ptr&) { hasEnded = true; }});
        ASSERT_TRUE(comesToHold([&] { return hasEnded || (delivered >= 60 && (isRead || screen.framesInMemory() >= 20)); }));
        stream.reset();
        writer.finish(CaptureClock::now());

        EXPECT_FALSE(hasEnded) << what;
        EXPECT_EQ(writer.dropped(), 0U) << what;
        EXPECT_GT(screen.framesInGraphicsMemory(), 0) << what;
        EXPECT_EQ(screen.framesInMemory() > 0, !isRead) << what;
        const auto frames = decodeFrames(writer.url());
        EXPECT_GE(frames.size(), static_cast<std::size_t>(delivered)) << what;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            EXPECT_GT(frames[i].mean(0.05, 0.1, 0.45, 0.9).red, 180) << what << ", frame " << i;
            EXPECT_GT(frames[i].mean(0.55, 0.1, 0.95, 0.9).blue, 180) << what << ", frame " << i;
        }
    }
}

} // namespace

} // namespace orvo::test
