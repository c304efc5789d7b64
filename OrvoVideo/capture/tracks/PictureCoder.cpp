#include "OrvoVideo/capture/tracks/PictureCoder.h"

#include "OrvoVideo/gstreamer/GstHandles.h"
#include "VideoCore/Error.h"
#include "VideoMedia/Cores.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <format>
#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <mutex>
#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;

/// Frames queued for the encoder; more would only take memory.
constexpr int picturesInWork = 2;

/// An encoder that keeps a frame for longer hangs.
constexpr auto maxWorkTime = 5s;

} // namespace

/// One encoder at work. Used by one thread; its own threads hand over what is coded.
class PictureCoder::Run {
public:
    Run(const Form& form, const PictureEncoder& encoder, const Sink& sink, bool isReplacement)
        : m_sink(sink)
        , m_isHardware(encoder.kind == PictureEncoder::Kind::hardware)
    {
        startGStreamer();
        GError* error = nullptr;
        GstElement* made = gst_parse_launch(
            std::format(
                "appsrc name=source format=time caps=video/x-raw,format=I420,width={},height={},framerate={}/1,"
                "pixel-aspect-ratio=1/1,interlace-mode=progressive,colorimetry=bt601 ! {} config-interval={} ! "
                "video/x-h264,stream-format=avc,alignment=au ! appsink name=sink sync=false async=false max-buffers=1",
                form.size.width, form.size.height, form.fps, encoder.launchLine(form.bitRate, form.keyFrameDistance),
                isReplacement ? -1 : 0)
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
        gst_pad_add_probe(exit.get(), GST_PAD_PROBE_TYPE_BUFFER, &Run::pictureLeft, this, nullptr);
        const GstElementHandle end(gst_bin_get_by_name(GST_BIN(m_bin.get()), "sink"));
        GstAppSinkCallbacks callbacks{};
        callbacks.new_sample = &Run::pictureCame;
        gst_app_sink_set_callbacks(GST_APP_SINK(end.get()), &callbacks, this, nullptr);
        const GstBusHandle bus(gst_element_get_bus(m_bin.get()));
        gst_bus_set_sync_handler(bus.get(), &Run::message, this, nullptr);
        gst_element_set_state(m_bin.get(), GST_STATE_PLAYING);
    }

    ~Run() { stop(); }

    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /// Returns false when the encoder has failed; the frame is then among those left.
    bool add(Picture picture)
    {
        using Handle = std::shared_ptr<const PictureMemory>;
        const auto& bytes = picture.memory->bytes();
        // The buffer references the frame's memory and keeps it alive while the encoder needs it.
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the memory is flagged read-only.
        auto* data = const_cast<std::uint8_t*>(bytes.data());
        GstBuffer* buffer = gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, data, bytes.size(), 0, bytes.size(),
            std::make_unique<Handle>(picture.memory).release(),
            [](gpointer handle) { std::unique_ptr<Handle>(static_cast<Handle*>(handle)).reset(); });
        GST_BUFFER_PTS(buffer) = picture.time;
        GST_BUFFER_DURATION(buffer) = picture.length;
        {
            std::unique_lock lock(m_mutex);
            lookForProgress();
            m_left.push_back(std::move(picture));
            waitUntil(lock, [this] { return m_inWork < picturesInWork; });
            if (m_failed) {
                gst_buffer_unref(buffer);
                return false;
            }
            ++m_inWork;
        }
        gst_app_src_push_buffer(GST_APP_SRC(m_source.get()), buffer);
        return true;
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
    std::deque<Picture> stop()
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
    /// Waits until this holds or the encoder has failed.
    template <typename Condition> void waitUntil(std::unique_lock<std::mutex>& lock, Condition holds)
    {
        lookForProgress();
        while (!m_failed && !holds()) {
            m_changed.wait_for(lock, 1s);
            lookForProgress();
        }
    }

    /// An encoder that takes frames and returns none has failed. Software only ever takes its time.
    void lookForProgress()
    {
        const auto now = CaptureClock::now();
        const bool wasSuspended = now - std::exchange(m_lastLook, now) > maxWorkTime / 2;
        // A slow disk holds up what comes out as well.
        if (wasSuspended || m_isHanding || m_left.empty())
            m_lastProgress = now;
        if (m_isHardware && now - m_lastProgress > maxWorkTime)
            m_failed = true;
    }

    static GstPadProbeReturn pictureLeft(GstPad*, GstPadProbeInfo*, gpointer self)
    {
        auto* run = static_cast<Run*>(self);
        {
            const std::lock_guard lock(run->m_mutex);
            --run->m_inWork;
        }
        run->m_changed.notify_all();
        return GST_PAD_PROBE_OK;
    }

    static GstFlowReturn pictureCame(GstAppSink* sink, gpointer self)
    {
        auto* run = static_cast<Run*>(self);
        const std::unique_ptr<GstSample, GstRelease<gst_sample_unref>> sample(gst_app_sink_pull_sample(sink));
        if (!sample)
            return GST_FLOW_EOS;
        return run->hand(*sample) ? GST_FLOW_OK : GST_FLOW_ERROR;
    }

    /// Hands a coded frame to the sink. Encoders keep the order, but derive lengths from the frame rate, and some shift all
    /// times; the frame gets those that it was added with.
    bool hand(GstSample& sample)
    {
        GstBuffer* buffer = gst_buffer_make_writable(gst_buffer_ref(gst_sample_get_buffer(&sample)));
        const auto time =
            gst_segment_to_running_time(gst_sample_get_segment(&sample), GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
        Picture coded;
        {
            const std::lock_guard lock(m_mutex);
            // Frames that the encoder left out are shown as the one before them.
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

    bool handOver(GstBuffer* buffer, const Picture& coded, GstCaps* caps)
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
    const bool m_isHardware;
    GstElementHandle m_bin;
    GstElementHandle m_source;

    std::mutex m_mutex; ///< Guards the members below.
    std::condition_variable m_changed;
    int m_inWork = 0;
    std::deque<Picture> m_left; ///< In the order in which they were added.
    bool m_isHanding = false; ///< The sink has a frame.
    CaptureTime m_lastProgress = CaptureClock::now(); ///< When a frame last came out, or there was none to come.
    CaptureTime m_lastLook = m_lastProgress;
    bool m_ended = false;
    bool m_failed = false;
    std::exception_ptr m_sinkFailure;
};

PictureCoder::PictureCoder(const Form& form, const PictureEncoder& encoder, Sink sink)
    : m_form(form)
    , m_encoder(encoder)
    , m_sink(std::move(sink))
    , m_run(std::make_unique<Run>(m_form, m_encoder, m_sink, false))
{
}

PictureCoder::~PictureCoder() = default;

void PictureCoder::add(const std::shared_ptr<const PictureMemory>& picture, GstClockTime time, GstClockTime length)
{
    if (!m_run->add({.memory = picture, .time = time, .length = length}))
        replaceEncoder();
}

void PictureCoder::finish()
{
    while (!m_run->finish())
        replaceEncoder();
    m_run->check();
}

/// Has software encode what the failed encoder still has.
void PictureCoder::replaceEncoder()
{
    m_run->check();
    const auto left = m_run->stop();
    m_run->check();
    if (m_encoder.kind == PictureEncoder::Kind::software)
        throw captureError("El codificador de vídeo ha dejado de funcionar.");
    PictureEncoder::avoid(m_encoder);
    m_encoder = PictureEncoder::software(m_form.size, m_form.fps, availableCores());
    m_run = std::make_unique<Run>(m_form, m_encoder, m_sink, true);
    for (const auto& picture : left) {
        if (!m_run->add(picture))
            return replaceEncoder();
    }
}

} // namespace orvo
