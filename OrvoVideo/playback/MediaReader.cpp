#include "OrvoVideo/playback/MediaReader.h"

#include "OrvoVideo/gstreamer/GstHandles.h"
#include "OrvoVideo/playback/ReferenceFrames.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <format>
#include <gst/app/gstappsink.h>
#include <mutex>
#include <optional>
#include <string_view>

namespace orvo {

namespace {

constexpr auto audioCaps = "audio/x-raw,format=F32LE,rate=48000,channels=2,layout=interleaved";

/// Number of decoded frames kept ready. One of 1080p takes 3 MB.
constexpr guint framesAhead = 4;
/// About 0.3 s of AAC.
constexpr guint audioBuffersAhead = 16;

const char* flipMethod(int rotation)
{
    switch (rotation) {
    case 90:
        return "clockwise";
    case 180:
        return "rotate-180";
    case 270:
        return "counterclockwise";
    default:
        return nullptr;
    }
}

/// The size of NAL unit lengths in H.264, or 0 for start codes; nullopt for other codecs.
std::optional<std::size_t> unitLengthBytes(GstPad* pad)
{
    const GstCapsHandle caps(gst_pad_get_current_caps(pad));
    if (!caps || gst_caps_get_size(caps.get()) == 0)
        return std::nullopt;
    const GstStructure* structure = gst_caps_get_structure(caps.get(), 0);
    const char* format = gst_structure_get_string(structure, "stream-format");
    if (!gst_structure_has_name(structure, "video/x-h264") || !format)
        return std::nullopt;
    if (std::string_view(format) == "byte-stream")
        return 0;
    const GValue* value = gst_structure_get_value(structure, "codec_data");
    if (!value)
        return std::nullopt;
    // Stored in the fifth byte of the AVCDecoderConfigurationRecord (ISO/IEC 14496-15).
    const BufferView record(gst_value_get_buffer(value));
    if (record.size() < 5)
        return std::nullopt;
    return (record.data()[4] & 0x3U) + 1U;
}

} // namespace

struct MediaReader::Pipeline {
    std::filesystem::path file;
    GstElementHandle bin;
    GstElement* entry = nullptr; ///< The element that the decoded stream is linked to.
    GstAppSink* sink = nullptr;
    std::atomic<GstClockTime> skipBefore = 0;
    GstClockTime latestCoded = 0; ///< Latest start since the last key frame. Used by the decoder's thread only.
    std::atomic<bool> linked = false;

    /// Time of the file's first frame, which an export shows at 0.
    std::atomic<GstClockTime> origin = 0;

    mutable std::mutex mutex;
    std::condition_variable_any changed;
    bool failed = false;
    bool ready = false;

    void notify(bool isFailure = false)
    {
        {
            const std::scoped_lock lock(mutex);
            ready = true;
            failed = failed || isFailure;
        }
        changed.notify_all();
    }

    static void padAdded(GstElement*, GstPad* pad, gpointer self)
    {
        auto* pipeline = static_cast<Pipeline*>(self);
        const GstPadHandle target(gst_element_get_static_pad(pipeline->entry, "sink"));
        if (!gst_pad_is_linked(target.get()) && gst_pad_link(pad, target.get()) == GST_PAD_LINK_OK)
            pipeline->linked = true;
    }

    static void noMorePads(GstElement*, gpointer self)
    {
        auto* pipeline = static_cast<Pipeline*>(self);
        if (!pipeline->linked)
            pipeline->notify(true);
    }

    /// Probes the input of the video decoder, to skip unneeded frames.
    static void elementAdded(GstBin*, GstBin*, GstElement* element, gpointer self)
    {
        GstElementFactory* factory = gst_element_get_factory(element);
        if (!factory
            || !gst_element_factory_list_is_type(
                factory, GST_ELEMENT_FACTORY_TYPE_DECODER | GST_ELEMENT_FACTORY_TYPE_MEDIA_VIDEO))
            return;
        // libav decoders must copy into their own memory. With direct rendering their threads race with the choice of the
        // downstream allocator, and GStreamer 1.26 aborts on a frame whose coded width differs from its display width.
        if (g_object_class_find_property(G_OBJECT_GET_CLASS(element), "direct-rendering"))
            g_object_set(element, "direct-rendering", FALSE, nullptr);
        const GstPadHandle pad(gst_element_get_static_pad(element, "sink"));
        if (pad)
            gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, &Pipeline::codedFrame, self, nullptr);
    }

    /// Skips a frame when no other depends on it and a later frame that is also early enough has passed. Durations are
    /// unreliable where the frame rate varies.
    static GstPadProbeReturn codedFrame(GstPad* pad, GstPadProbeInfo* info, gpointer data)
    {
        auto* self = static_cast<Pipeline*>(data);
        GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
        if (!GST_BUFFER_PTS_IS_VALID(buffer))
            return GST_PAD_PROBE_OK;
        const GstEventHandle event(gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0));
        if (!event)
            return GST_PAD_PROBE_OK;
        const GstSegment* segment = nullptr;
        gst_event_parse_segment(event.get(), &segment);
        const guint64 start = gst_segment_to_stream_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
        if (start == GST_CLOCK_TIME_NONE)
            return GST_PAD_PROBE_OK;
        if (!GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT)) {
            self->latestCoded = start;
            return GST_PAD_PROBE_OK;
        }
        const bool mayGo = start < self->latestCoded && self->latestCoded <= self->skipBefore;
        self->latestCoded = std::max<GstClockTime>(self->latestCoded, start);
        if (!mayGo)
            return GST_PAD_PROBE_OK;
        const auto lengthBytes = unitLengthBytes(pad);
        if (!lengthBytes)
            return GST_PAD_PROBE_OK;
        const BufferView frame(buffer);
        return isReferenceFrame({frame.data(), frame.size()}, *lengthBytes) ? GST_PAD_PROBE_OK : GST_PAD_PROBE_DROP;
    }

    /// Stores the time of the file's first frame. Seeks happen only after it.
    static GstPadProbeReturn firstFrame(GstPad* pad, GstPadProbeInfo* info, gpointer self)
    {
        const GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
        const GstEventHandle event(gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0));
        if (event && GST_BUFFER_PTS_IS_VALID(buffer)) {
            const GstSegment* segment = nullptr;
            gst_event_parse_segment(event.get(), &segment);
            const guint64 time = gst_segment_to_stream_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
            if (time != GST_CLOCK_TIME_NONE)
                static_cast<Pipeline*>(self)->origin = time;
        }
        return GST_PAD_PROBE_REMOVE;
    }

    static GstBusSyncReply message(GstBus*, GstMessage* message, gpointer self)
    {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR)
            static_cast<Pipeline*>(self)->notify(true);
        gst_message_unref(message);
        return GST_BUS_DROP;
    }
};

MediaReader::MediaReader(std::filesystem::path file, Stream stream, int rotation)
    : m_pipeline(std::make_unique<Pipeline>())
{
    startGStreamer();
    Pipeline& pipeline = *m_pipeline;
    pipeline.file = std::move(file);
    pipeline.bin.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    GstElement* bin = pipeline.bin.get();
    const bool isVideo = stream == Stream::Video;

    GstElement* source = addElement(bin, "filesrc");
    g_object_set(source, "location", pipeline.file.c_str(), nullptr);
    GstElement* decoder = addElement(bin, "decodebin");
    const GstCapsHandle decoded(gst_caps_from_string(isVideo ? "video/x-raw(ANY)" : "audio/x-raw"));
    g_object_set(decoder, "caps", decoded.get(), "expose-all-streams", FALSE, nullptr);
    gst_element_link(source, decoder);

    GstElement* sink = addElement(bin, "appsink");
    pipeline.sink = GST_APP_SINK(sink);
    const GstCapsHandle wanted(gst_caps_from_string(isVideo ? "video/x-raw" : audioCaps));
    g_object_set(sink, "sync", FALSE, "qos", FALSE, "enable-last-sample", FALSE, "caps", wanted.get(), "max-buffers",
        isVideo ? framesAhead : audioBuffersAhead, nullptr);

    if (!isVideo) {
        pipeline.entry = addElement(bin, "audioconvert");
        GstElement* resampler = addElement(bin, "audioresample");
        gst_element_link_many(pipeline.entry, resampler, sink, nullptr);
    } else if (const char* method = flipMethod(rotation)) {
        pipeline.entry = addElement(bin, "videoflip");
        gst_util_set_object_arg(G_OBJECT(pipeline.entry), "method", method);
        gst_element_link(pipeline.entry, sink);
    } else {
        pipeline.entry = sink;
    }

    g_signal_connect(decoder, "pad-added", G_CALLBACK(&Pipeline::padAdded), &pipeline);
    g_signal_connect(decoder, "no-more-pads", G_CALLBACK(&Pipeline::noMorePads), &pipeline);
    if (isVideo) {
        g_signal_connect(bin, "deep-element-added", G_CALLBACK(&Pipeline::elementAdded), &pipeline);
        const GstPadHandle pad(gst_element_get_static_pad(sink, "sink"));
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, &Pipeline::firstFrame, &pipeline, nullptr);
    }
    const GstBusHandle bus(gst_element_get_bus(bin));
    gst_bus_set_sync_handler(bus.get(), &Pipeline::message, &pipeline, nullptr);
    GstAppSinkCallbacks callbacks{};
    callbacks.eos = [](GstAppSink*, gpointer self) { static_cast<Pipeline*>(self)->notify(); };
    callbacks.new_sample = [](GstAppSink*, gpointer self) {
        static_cast<Pipeline*>(self)->notify();
        return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(pipeline.sink, &callbacks, &pipeline, nullptr);

    if (gst_element_set_state(bin, GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE)
        pipeline.notify(true);
}

MediaReader::~MediaReader()
{
    // Stops the streaming threads before the members that they use are destroyed.
    gst_element_set_state(m_pipeline->bin.get(), GST_STATE_NULL);
}

bool MediaReader::isReady() const
{
    const std::scoped_lock lock(m_pipeline->mutex);
    return m_pipeline->ready;
}

bool MediaReader::isBroken() const
{
    const std::scoped_lock lock(m_pipeline->mutex);
    return m_pipeline->failed;
}

void MediaReader::open(const std::stop_token& stop)
{
    std::unique_lock lock(m_pipeline->mutex);
    if (!m_pipeline->changed.wait(lock, stop, [this] { return m_pipeline->ready; }))
        throw Cancelled();
    if (m_pipeline->failed)
        throw captureError(std::format("No se puede reproducir el archivo «{}».", m_pipeline->file.filename().string()));
}

void MediaReader::seek(double seconds, Seek mode)
{
    const auto flags = mode == Seek::Exact ? GST_SEEK_FLAG_ACCURATE : GST_SEEK_FLAG_KEY_UNIT | GST_SEEK_FLAG_SNAP_BEFORE;
    gst_element_seek_simple(m_pipeline->bin.get(), GST_FORMAT_TIME, static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | flags),
        static_cast<gint64>(toClockTime(seconds) + m_pipeline->origin));
}

MediaSample MediaReader::next(const std::stop_token& stop)
{
    std::unique_lock lock(m_pipeline->mutex);
    GstSample* sample = nullptr;
    bool ended = false;
    m_pipeline->changed.wait(lock, stop, [&] {
        sample = gst_app_sink_try_pull_sample(m_pipeline->sink, 0);
        ended = !sample && (m_pipeline->failed || gst_app_sink_is_eos(m_pipeline->sink));
        return sample || ended;
    });
    if (ended)
        return {};
    if (!sample)
        throw Cancelled();

    MediaSample result{.data = std::shared_ptr<GstSample>(sample, &gst_sample_unref)};
    const GstBuffer* buffer = gst_sample_get_buffer(sample);
    const GstSegment* segment = gst_sample_get_segment(sample);
    const auto streamTime = [segment](GstClockTime time) {
        guint64 position = 0;
        const int sign = gst_segment_to_stream_time_full(segment, GST_FORMAT_TIME, time, &position);
        return sign == 0 ? toSeconds(time) : sign * toSeconds(position);
    };
    if (GST_BUFFER_PTS_IS_VALID(buffer))
        result.start = streamTime(GST_BUFFER_PTS(buffer));
    result.start -= toSeconds(m_pipeline->origin);
    result.end = result.start;
    if (GST_BUFFER_DURATION_IS_VALID(buffer))
        result.end += toSeconds(GST_BUFFER_DURATION(buffer));
    return result;
}

void MediaReader::skipUnneededBefore(double seconds)
{
    m_pipeline->skipBefore = toClockTime(seconds) + m_pipeline->origin;
}

} // namespace orvo
