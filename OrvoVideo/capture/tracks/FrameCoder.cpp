#include "OrvoVideo/capture/tracks/FrameCoder.h"

#include "OrvoVideo/gstreamer/GstHandles.h"
#include "VideoCore/Error.h"
#include "VideoCore/ReleasedBy.h"
#include "VideoMedia/Cores.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <exception>
#include <format>
#include <gst/allocators/gstdmabuf.h>
#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/video/gstvideometa.h>
#include <gst/video/video-info-dma.h>
#include <mutex>
#include <string>
#include <unistd.h>
#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;

/// Frames queued for the encoder; more would only take memory.
constexpr int framesInWork = 2;

std::string launchLine(const FrameCoder::Form& form, const FrameEncoder& encoder, const GraphicsFrame* graphics)
{
    if (!graphics)
        return std::format("appsrc name=source format=time caps=video/x-raw,format=I420,width={},height={},framerate={}/1,"
                           "pixel-aspect-ratio=1/1,interlace-mode=progressive,colorimetry=bt601 ! {}",
            form.size.width, form.size.height, form.fps, encoder.launchLine(form.bitRate, form.keyFrameDistance));
    const std::unique_ptr<char, ReleasedBy<g_free>> format(
        gst_video_dma_drm_fourcc_to_string(graphics->format.code, graphics->format.modifier));
    return std::format(
        "appsrc name=source format=time caps=\"video/x-raw(memory:DMABuf),format=DMA_DRM,drm-format={},width={},"
        "height={},framerate={}/1,pixel-aspect-ratio=1/1,interlace-mode=progressive\" ! {}",
        format ? format.get() : "", graphics->size.width, graphics->size.height, form.fps,
        encoder.graphicsLaunchLine(form.size, form.bitRate, form.keyFrameDistance));
}

using FrameHandle = std::shared_ptr<const FrameMemory>;

void releaseHandle(gpointer handle)
{
    std::unique_ptr<FrameHandle>(static_cast<FrameHandle*>(handle)).reset();
}

/// A buffer that shares the frame's memory and keeps it alive.
GstBuffer* bufferOf(const FrameHandle& frame)
{
    const auto& bytes = frame->bytes();
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the memory is flagged read-only.
    auto* data = const_cast<std::uint8_t*>(bytes.data());
    return gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, data, bytes.size(), 0, bytes.size(),
        std::make_unique<FrameHandle>(frame).release(), releaseHandle);
}

/// A buffer that shares a frame in graphics memory and keeps it alive.
GstBuffer* graphicsBufferOf(const FrameHandle& frame)
{
    const std::unique_ptr<GstAllocator, ReleasedBy<gst_object_unref>> allocator(gst_dmabuf_allocator_new());
    const auto& graphics = *frame->graphics();
    GstBuffer* buffer = gst_buffer_new();
    std::array<gsize, GST_VIDEO_MAX_PLANES> offsets{};
    std::array<gint, GST_VIDEO_MAX_PLANES> strides{};
    const auto planes = std::min(graphics.planes.size(), offsets.size());
    gsize before = 0;
    for (std::size_t i = 0; i < planes; ++i) {
        const auto& plane = graphics.planes[i];
        const auto size = static_cast<gsize>(std::max<off_t>(::lseek(plane.memory.get(), 0, SEEK_END), 0));
        GstMemory* memory =
            gst_dmabuf_allocator_alloc_with_flags(allocator.get(), plane.memory.get(), size, GST_FD_MEMORY_FLAG_DONT_CLOSE);
        gst_mini_object_set_qdata(GST_MINI_OBJECT_CAST(memory), g_quark_from_static_string("orvo-frame"),
            std::make_unique<FrameHandle>(frame).release(), releaseHandle);
        gst_buffer_append_memory(buffer, memory);
        offsets.at(i) = before + plane.offset;
        strides.at(i) = static_cast<gint>(plane.stride);
        before += size;
    }
    gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_DMA_DRM,
        static_cast<guint>(graphics.size.width), static_cast<guint>(graphics.size.height), static_cast<guint>(planes),
        offsets.data(), strides.data());
    return buffer;
}

/// Interval between checks of the encoder's load.
constexpr auto loadTime = 2s;

/// An encoder that keeps a frame for longer is considered hung.
constexpr auto maxWorkTime = 5s;

} // namespace

/// One running encoder. Used by one thread; its own threads pass coded frames to the sink.
class FrameCoder::Run {
public:
    /// For frames in the format of `graphics`; if null, in plain memory.
    Run(const Form& form, const FrameEncoder& encoder, std::shared_ptr<const GraphicsFrame> graphics, const Sink& sink,
        bool isReplacement)
        : m_sink(sink)
        , m_graphics(std::move(graphics))
        , m_isHardware(encoder.kind == FrameEncoder::Kind::hardware)
    {
        startGStreamer();
        GError* error = nullptr;
        GstElement* made = gst_parse_launch(
            std::format("{} config-interval={} ! video/x-h264,stream-format=avc,alignment=au ! appsink name=sink sync=false "
                        "async=false max-buffers=1",
                launchLine(form, encoder, m_graphics.get()), isReplacement ? -1 : 0)
                .c_str(),
            &error);
        m_bin.reset(made ? GST_ELEMENT(gst_object_ref_sink(made)) : nullptr);
        if (error) {
            const std::string reason = error->message;
            g_error_free(error);
            throw captureError("GStreamer no puede codificar vídeo: " + reason);
        }
        m_source.reset(gst_bin_get_by_name(GST_BIN(m_bin.get()), "source"));
        const GstPadHandle exit(gst_element_get_static_pad(m_source.get(), "src"));
        gst_pad_add_probe(exit.get(), GST_PAD_PROBE_TYPE_BUFFER, &Run::frameLeft, this, nullptr);
        const GstElementHandle end(gst_bin_get_by_name(GST_BIN(m_bin.get()), "sink"));
        GstAppSinkCallbacks callbacks{};
        callbacks.new_sample = &Run::frameCame;
        gst_app_sink_set_callbacks(GST_APP_SINK(end.get()), &callbacks, this, nullptr);
        const GstBusHandle bus(gst_element_get_bus(m_bin.get()));
        gst_bus_set_sync_handler(bus.get(), &Run::message, this, nullptr);
        gst_element_set_state(m_bin.get(), GST_STATE_PLAYING);
    }

    ~Run() { stop(); }

    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /// Whether the frame has the format of this run.
    bool takes(const FrameMemory& frame) const
    {
        const auto& graphics = frame.graphics();
        return !graphics || !m_graphics ? graphics == m_graphics
                                        : graphics->format == m_graphics->format && graphics->size == m_graphics->size;
    }

    bool takesGraphics() const { return m_graphics != nullptr; }

    /// Returns false when the encoder has failed; `stop` then returns the frame.
    bool add(Frame frame)
    {
        GstBuffer* buffer = frame.memory->graphics() ? graphicsBufferOf(frame.memory) : bufferOf(frame.memory);
        GST_BUFFER_PTS(buffer) = frame.time;
        GST_BUFFER_DURATION(buffer) = frame.length;
        {
            std::unique_lock lock(m_mutex);
            lookForProgress();
            m_left.push_back(std::move(frame));
            const auto before = CaptureClock::now();
            const bool waitsForDisk = m_isHanding;
            waitUntil(lock, [this] { return m_inWork < framesInWork; });
            // A longer wait means that the process was suspended.
            if (const auto waited = CaptureClock::now() - before; waited < loadTime && !waitsForDisk)
                m_waited += waited;
            if (m_failed) {
                gst_buffer_unref(buffer);
                return false;
            }
            ++m_inWork;
        }
        gst_app_src_push_buffer(GST_APP_SRC(m_source.get()), buffer);
        return true;
    }

    /// Whether frames recently waited for the encoder most of the time.
    bool isOverloaded()
    {
        const auto passed = CaptureClock::now() - m_loadFrom;
        if (passed < loadTime)
            return false;
        m_loadFrom += passed;
        return std::exchange(m_waited, {}) > passed * 7 / 10;
    }

    /// Returns false when the encoder has failed.
    bool finish()
    {
        gst_app_src_end_of_stream(GST_APP_SRC(m_source.get()));
        std::unique_lock lock(m_mutex);
        waitUntil(lock, [this] { return m_ended; });
        return !m_failed && (m_left.empty() || !m_isHardware);
    }

    /// Stops the encoder. Returns the frames that have not come out.
    std::deque<Frame> stop()
    {
        gst_element_set_state(m_bin.get(), GST_STATE_NULL);
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_left, {});
    }

    /// Throws what the sink has thrown.
    void check()
    {
        const std::lock_guard lock(m_mutex);
        if (m_sinkFailure)
            std::rethrow_exception(m_sinkFailure);
    }

private:
    /// Waits until the condition holds or the encoder has failed.
    template <typename Condition> void waitUntil(std::unique_lock<std::mutex>& lock, Condition holds)
    {
        lookForProgress();
        while (!m_failed && !holds()) {
            m_changed.wait_for(lock, 1s);
            lookForProgress();
        }
    }

    /// Marks a hardware encoder that takes frames and returns none as failed. Software is merely slow.
    void lookForProgress()
    {
        const auto now = CaptureClock::now();
        const bool wasSuspended = now - std::exchange(m_lastLook, now) > maxWorkTime / 2;
        // A slow disk delays coded frames as well.
        if (wasSuspended || m_isHanding || m_left.empty())
            m_lastProgress = now;
        if (m_isHardware && now - m_lastProgress > maxWorkTime)
            m_failed = true;
    }

    static GstPadProbeReturn frameLeft(GstPad*, GstPadProbeInfo*, gpointer self)
    {
        auto* run = static_cast<Run*>(self);
        {
            const std::lock_guard lock(run->m_mutex);
            --run->m_inWork;
        }
        run->m_changed.notify_all();
        return GST_PAD_PROBE_OK;
    }

    static GstFlowReturn frameCame(GstAppSink* sink, gpointer self)
    {
        auto* run = static_cast<Run*>(self);
        const std::unique_ptr<GstSample, ReleasedBy<gst_sample_unref>> sample(gst_app_sink_pull_sample(sink));
        if (!sample)
            return GST_FLOW_EOS;
        return run->hand(*sample) ? GST_FLOW_OK : GST_FLOW_ERROR;
    }

    /// Hands a coded frame to the sink with the times it was added with. Encoders keep the order, but derive lengths from
    /// the frame rate, and some shift all times.
    bool hand(GstSample& sample)
    {
        GstBuffer* buffer = gst_buffer_make_writable(gst_buffer_ref(gst_sample_get_buffer(&sample)));
        const auto time =
            gst_segment_to_running_time(gst_sample_get_segment(&sample), GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
        Frame coded;
        {
            const std::lock_guard lock(m_mutex);
            // In place of frames that the encoder dropped, the one before them stays.
            while (!m_left.empty() && m_left.front().time <= time) {
                coded = std::move(m_left.front());
                m_left.pop_front();
            }
            m_isHanding = true;
        }
        const bool isTaken =
            !coded.memory ? (gst_buffer_unref(buffer), true) : handOver(buffer, coded, gst_sample_get_caps(&sample));
        {
            const std::lock_guard lock(m_mutex);
            m_isHanding = false;
            m_lastProgress = CaptureClock::now();
        }
        m_changed.notify_all();
        return isTaken;
    }

    bool handOver(GstBuffer* buffer, const Frame& coded, GstCaps* caps)
    {
        GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = coded.time;
        GST_BUFFER_DURATION(buffer) = coded.length;
        try {
            m_sink(buffer, caps);
            return true;
        } catch (const std::exception&) {
            const std::lock_guard lock(m_mutex);
            m_sinkFailure = std::current_exception();
            return false;
        }
    }

    static GstBusSyncReply message(GstBus*, GstMessage* message, gpointer self)
    {
        auto* run = static_cast<Run*>(self);
        const auto type = GST_MESSAGE_TYPE(message);
        gst_message_unref(message);
        if (type != GST_MESSAGE_ERROR && type != GST_MESSAGE_EOS)
            return GST_BUS_DROP;
        {
            const std::lock_guard lock(run->m_mutex);
            (type == GST_MESSAGE_EOS ? run->m_ended : run->m_failed) = true;
        }
        run->m_changed.notify_all();
        return GST_BUS_DROP;
    }

    const Sink& m_sink;
    const std::shared_ptr<const GraphicsFrame> m_graphics; ///< The format of frames in graphics memory, else null.
    const bool m_isHardware;
    GstElementHandle m_bin;
    GstElementHandle m_source;

    // Used by the caller's thread.
    CaptureTime m_loadFrom = CaptureClock::now();
    CaptureClock::duration m_waited{}; ///< Time waited in `add` since `m_loadFrom`.

    std::mutex m_mutex; ///< Guards the members below.
    std::condition_variable m_changed;
    int m_inWork = 0;
    std::deque<Frame> m_left; ///< In the order in which they were added.
    bool m_isHanding = false; ///< The sink is processing a frame.
    CaptureTime m_lastProgress = CaptureClock::now(); ///< When a frame last came out, or none was pending.
    CaptureTime m_lastLook = m_lastProgress;
    bool m_ended = false;
    bool m_failed = false;
    std::exception_ptr m_sinkFailure;
};

FrameCoder::FrameCoder(const Form& form, const FrameEncoder& encoder, Sink sink)
    : m_form(form)
    , m_encoder(encoder)
    , m_sink(std::move(sink))
    , m_readsGraphics(!encoder.graphics.formats.empty())
{
    begin(nullptr);
}

FrameCoder::~FrameCoder() = default;

/// Begins to encode frames in the format of `graphics`; if null, in plain memory.
void FrameCoder::begin(const std::shared_ptr<const GraphicsFrame>& graphics)
{
    m_run = std::make_unique<Run>(m_form, m_encoder, graphics, m_sink, m_hasBegun);
}

void FrameCoder::add(const std::shared_ptr<const FrameMemory>& frame, GstClockTime time, GstClockTime length)
{
    pass({.memory = frame, .time = time, .length = length});
}

void FrameCoder::pass(Frame frame)
{
    if (const auto graphics = frame.memory->graphics(); graphics && !m_readsGraphics) {
        graphics->refuse();
        frame.memory = graphics->inMemory(m_form.size);
        if (!frame.memory)
            return;
    }
    if (!m_run->takes(*frame.memory)) {
        if (m_hasBegun)
            finish();
        begin(frame.memory->graphics());
    }
    m_hasBegun = true;
    if (!m_run->add(std::move(frame)))
        replaceEncoder();
    else if (m_encoder.kind == FrameEncoder::Kind::software && m_run->isOverloaded())
        makeFaster();
}

void FrameCoder::makeFaster()
{
    const auto fastest = FrameEncoder::fastestSoftware();
    if (m_encoder.options == fastest.options)
        return;
    finish();
    m_encoder = fastest;
    begin(nullptr);
}

void FrameCoder::finish()
{
    while (!m_run->finish())
        replaceEncoder();
    m_run->check();
}

/// Replaces a failed encoder and passes on the frames that have not come out of it. Gives up graphics memory first, then
/// hardware.
void FrameCoder::replaceEncoder()
{
    m_run->check();
    const bool tookGraphics = m_run->takesGraphics();
    const auto left = m_run->stop();
    m_run->check();
    if (!tookGraphics && m_encoder.kind == FrameEncoder::Kind::software)
        throw captureError("El codificador de vídeo ha dejado de funcionar: la grabación se ha detenido.");
    m_readsGraphics = false;
    if (tookGraphics) {
        FrameEncoder::avoidGraphics(m_encoder);
    } else {
        FrameEncoder::avoid(m_encoder);
        m_encoder = FrameEncoder::software(m_form.size, m_form.fps, availableCores());
    }
    begin(nullptr);
    for (const auto& frame : left)
        pass(frame);
}

} // namespace orvo
