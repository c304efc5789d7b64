#include "OrvoVideo/capture/camera/Cameras.h"

#include "OrvoVideo/gstreamer/GstHandles.h"
#include "VideoCore/Error.h"
#include "VideoCore/ReleasedBy.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstring>
#include <gst/app/gstappsink.h>
#include <gst/video/video.h>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;

constexpr auto maxStartTime = 10s;

using Monitor = std::unique_ptr<GstDeviceMonitor, ReleasedBy<gst_object_unref>>;
using Device = std::unique_ptr<GstDevice, ReleasedBy<gst_object_unref>>;
using Structure = std::unique_ptr<GstStructure, ReleasedBy<gst_structure_free>>;

struct Found {
    CameraDevice camera;
    Device device;
};

std::string property(const GstStructure* properties, const char* name)
{
    const char* value = properties ? gst_structure_get_string(properties, name) : nullptr;
    return value ? value : "";
}

/// The identifier of a camera. Prefers the device path, which is the same in PipeWire and V4L2.
std::string identifier(GstDevice* device, const std::string& label)
{
    const Structure properties(gst_device_get_properties(device));
    for (const char* name : {"api.v4l2.path", "device.path", "node.name"}) {
        if (auto value = property(properties.get(), name); !value.empty())
            return value;
    }
    return label;
}

std::vector<Found> cameras()
{
    startGStreamer();
    const Monitor monitor(gst_device_monitor_new());
    gst_device_monitor_add_filter(monitor.get(), "Video/Source", nullptr);
    if (!gst_device_monitor_start(monitor.get()))
        return {};
    std::vector<Found> found;
    GList* devices = gst_device_monitor_get_devices(monitor.get());
    for (const GList* each = devices; each; each = each->next) {
        Device device(GST_DEVICE(each->data));
        const std::unique_ptr<char, ReleasedBy<g_free>> name(gst_device_get_display_name(device.get()));
        const std::string label = name ? name.get() : "";
        std::string id = identifier(device.get(), label);
        // V4L2 and PipeWire offer the same camera.
        const auto isSame = [&](const Found& other) { return other.camera.id == id; };
        if (std::ranges::none_of(found, isSame))
            found.push_back({.camera = {.id = std::move(id), .label = label}, .device = std::move(device)});
    }
    g_list_free(devices);
    gst_device_monitor_stop(monitor.get());
    return found;
}

class GstCameraStream final : public CameraStream {
public:
    GstCameraStream(const Found& camera, Receiver receiver)
        : m_id(camera.camera.id)
        , m_receiver(std::move(receiver))
        , m_pool(size)
    {
        GstElement* source = gst_device_create_element(camera.device.get(), "source");
        if (!source)
            throw captureError("No se puede abrir la cámara.");
        m_bin.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
        GstElement* bin = m_bin.get();
        gst_bin_add(GST_BIN(bin), source);
        // Cameras send raw video or JPEG; prefers the caps closest to the output.
        GstElement* filter = addElement(bin, "capsfilter");
        const GstCapsHandle offered(gst_caps_from_string(
            "video/x-raw,width=1280,height=720;image/jpeg,width=1280,height=720;video/x-raw;image/jpeg"));
        g_object_set(filter, "caps", offered.get(), nullptr);
        GstElement* decoder = addElement(bin, "decodebin");
        m_converter = addElement(bin, "videoconvertscale");
        g_object_set(m_converter, "add-borders", TRUE, nullptr);
        m_sink = addElement(bin, "appsink");
        const GstCapsHandle wanted(
            gst_caps_from_string("video/x-raw,format=I420,width=1280,height=720,pixel-aspect-ratio=1/1,colorimetry=bt601"));
        // The next frame replaces one that was not taken in time.
        g_object_set(m_sink, "caps", wanted.get(), "sync", FALSE, "max-buffers", 2U, "drop", TRUE, "enable-last-sample",
            FALSE, nullptr);
        gst_element_link_many(source, filter, decoder, nullptr);
        gst_element_link(m_converter, m_sink);
        g_signal_connect(decoder, "pad-added", G_CALLBACK(&GstCameraStream::decoded), this);
        const GstPadHandle entry(gst_element_get_static_pad(filter, "sink"));
        gst_pad_add_probe(entry.get(), GST_PAD_PROBE_TYPE_EVENT_UPSTREAM, &GstCameraStream::askedAgain, nullptr, nullptr);

        GstAppSinkCallbacks callbacks{};
        callbacks.new_sample = &GstCameraStream::frameCame;
        gst_app_sink_set_callbacks(GST_APP_SINK(m_sink), &callbacks, this, nullptr);
        const GstBusHandle bus(gst_element_get_bus(bin));
        gst_bus_set_sync_handler(bus.get(), &GstCameraStream::message, this, nullptr);
        // The clock of all captures, so that times are comparable.
        GstClock* clock = gst_system_clock_obtain();
        gst_pipeline_use_clock(GST_PIPELINE(bin), clock);
        gst_object_unref(clock);
    }

    ~GstCameraStream() override { gst_element_set_state(m_bin.get(), GST_STATE_NULL); }

    const std::string& device() const override { return m_id; }

    void start(const std::stop_token& stop)
    {
        if (gst_element_set_state(m_bin.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE)
            fail();
        std::unique_lock lock(m_mutex);
        const bool answered = m_changed.wait_for(lock, stop, maxStartTime, [this] { return m_running || m_failure; });
        if (!answered || m_failure)
            throw captureError(m_failure.value_or("No se puede abrir la cámara."));
    }

private:
    static GstCameraStream& of(gpointer self) { return *static_cast<GstCameraStream*>(self); }

    static void decoded(GstElement*, GstPad* pad, gpointer self)
    {
        const GstPadHandle target(gst_element_get_static_pad(of(self).m_converter, "sink"));
        if (!gst_pad_is_linked(target.get()))
            gst_pad_link(pad, target.get());
    }

    /// When decodebin links, it asks the camera to renegotiate. All formats are converted after it, and some cameras do
    /// not survive a stop for renegotiation.
    static GstPadProbeReturn askedAgain(GstPad*, GstPadProbeInfo* info, gpointer)
    {
        return GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_RECONFIGURE ? GST_PAD_PROBE_DROP
                                                                                       : GST_PAD_PROBE_OK;
    }

    static GstFlowReturn frameCame(GstAppSink* sink, gpointer self)
    {
        const std::unique_ptr<GstSample, ReleasedBy<gst_sample_unref>> sample(gst_app_sink_pull_sample(sink));
        if (sample)
            of(self).deliver(sample.get());
        return GST_FLOW_OK;
    }

    void deliver(GstSample* sample)
    {
        GstBuffer* buffer = gst_sample_get_buffer(sample);
        CaptureTime time = CaptureClock::now();
        // Both clocks count nanoseconds since boot.
        if (GST_BUFFER_PTS_IS_VALID(buffer)) {
            const GstClockTime running =
                gst_segment_to_running_time(gst_sample_get_segment(sample), GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
            if (running != GST_CLOCK_TIME_NONE) {
                const auto taken = CaptureTime(std::chrono::nanoseconds(running + gst_element_get_base_time(m_bin.get())));
                time = std::min(time, std::max(taken, time - captureLength(maxDelay)));
            }
        }
        {
            const std::lock_guard lock(m_mutex);
            m_running = true;
        }
        m_changed.notify_all();
        const auto memory = m_pool.take();
        if (memory && copy(sample, *memory))
            m_receiver.frame({.memory = memory, .time = time});
    }

    static bool copy(GstSample* sample, FrameMemory& memory)
    {
        GstVideoInfo info;
        GstVideoFrame frame;
        if (!gst_video_info_from_caps(&info, gst_sample_get_caps(sample))
            || !gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample), GST_MAP_READ))
            return false;
        const auto plane = [&frame](guint index, std::uint8_t* to, int stride, int width, int height) {
            const auto* from = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, index));
            for (int line = 0; line < height; ++line)
                std::memcpy(to + std::ptrdiff_t{line} * stride,
                    from + std::ptrdiff_t{line} * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, index),
                    static_cast<std::size_t>(width));
        };
        plane(0, memory.luma(), memory.lumaStride(), size.width, size.height);
        plane(1, memory.blue(), memory.chromaStride(), size.width / 2, size.height / 2);
        plane(2, memory.red(), memory.chromaStride(), size.width / 2, size.height / 2);
        gst_video_frame_unmap(&frame);
        return true;
    }

    static GstBusSyncReply message(GstBus*, GstMessage* message, gpointer self)
    {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR || GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS)
            of(self).fail(message);
        gst_message_unref(message);
        return GST_BUS_DROP;
    }

    void fail(GstMessage* message = nullptr)
    {
        std::string text = "No se puede abrir la cámara.";
        if (message && GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
            GError* error = nullptr;
            gst_message_parse_error(message, &error, nullptr);
            if (g_error_matches(error, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_AUTHORIZED))
                text = "Activa el permiso de cámara en Ajustes del Sistema.";
            g_error_free(error);
        }
        bool wasRunning = false;
        {
            const std::lock_guard lock(m_mutex);
            if (m_failure)
                return;
            m_failure = text;
            wasRunning = m_running;
        }
        m_changed.notify_all();
        if (wasRunning && m_receiver.ended)
            m_receiver.ended(std::make_exception_ptr(captureError("La cámara se ha desconectado.")));
    }

    const std::string m_id;
    const Receiver m_receiver;
    FramePool m_pool;
    GstElementHandle m_bin;
    GstElement* m_converter = nullptr;
    GstElement* m_sink = nullptr;

    std::mutex m_mutex; ///< Guards the members below.
    std::condition_variable_any m_changed;
    bool m_running = false;
    std::optional<std::string> m_failure;
};

} // namespace

std::vector<CameraDevice> Cameras::list()
{
    std::vector<CameraDevice> list;
    for (auto& found : cameras())
        list.push_back(std::move(found.camera));
    return list;
}

std::unique_ptr<CameraStream> CameraStream::open(const std::string& device, Receiver receiver, const std::stop_token& stop)
{
    const auto found = cameras();
    const auto chosen =
        std::ranges::find_if(found, [&](const Found& camera) { return device.empty() || camera.camera.id == device; });
    if (chosen == found.end())
        throw captureError("No hay una cámara disponible.");
    auto stream = std::make_unique<GstCameraStream>(*chosen, std::move(receiver));
    stream->start(stop);
    return stream;
}

} // namespace orvo
