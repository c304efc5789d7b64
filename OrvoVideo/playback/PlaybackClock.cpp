#include "OrvoVideo/playback/PlaybackClock.h"

#include "OrvoVideo/gstreamer/GstHandles.h"
#include "VideoCore/Error.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <gst/app/gstappsrc.h>

namespace orvo {

namespace {

constexpr int channels = 2;
constexpr std::size_t blockSamples = 960; // 20 ms
constexpr double minAudibleSpeed = 0.5;
constexpr double maxAudibleSpeed = 2;

/// Nanoseconds after which the clock no longer waits for a device whose time does not advance.
constexpr std::int64_t deviceStall = 2'000'000'000;

std::int64_t monotonicNanoseconds()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

} // namespace

/// The pipeline from the mixed audio to the device.
struct PlaybackClock::Output {
    std::vector<std::shared_ptr<AudioTrack>> tracks;
    GstElementHandle bin;
    GstElement* source = nullptr;
    std::int64_t position = 0; ///< In samples. Used by the streaming thread, and by a seek while that is paused.
    std::stop_source stopping;
    std::atomic<bool> failed = false;
    std::mutex mutex; ///< Guards `heard`.
    std::shared_ptr<const HeardSpans> heard = std::make_shared<HeardSpans>();

    Output(std::vector<std::shared_ptr<AudioTrack>> mixedTracks, const std::string& sinkDescription);
    ~Output();

    static void needData(GstAppSrc* source, guint, gpointer self) { static_cast<Output*>(self)->pushBlock(source); }
    void pushBlock(GstAppSrc* source);
    static gboolean seekData(GstAppSrc*, guint64 offset, gpointer self);
    static GstBusSyncReply message(GstBus*, GstMessage* message, gpointer self);
};

PlaybackClock::Output::Output(std::vector<std::shared_ptr<AudioTrack>> mixedTracks, const std::string& sinkDescription)
    : tracks(std::move(mixedTracks))
{
    startGStreamer();
    bin.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    source = addElement(bin.get(), "appsrc");
    GstElement* tempo = addElement(bin.get(), "scaletempo");
    GstElement* converter = addElement(bin.get(), "audioconvert");
    GstElement* resampler = addElement(bin.get(), "audioresample");
    GError* error = nullptr;
    GstElement* sink = gst_parse_bin_from_description(sinkDescription.c_str(), TRUE, &error);
    g_clear_error(&error);
    if (!sink)
        throw captureError("No se puede usar el sonido de este equipo.");
    gst_bin_add(GST_BIN(bin.get()), sink);
    gst_element_link_many(source, tempo, converter, resampler, sink, nullptr);

    const GstCapsHandle caps(gst_caps_new_simple("audio/x-raw", "format", G_TYPE_STRING, "F32LE", "rate", G_TYPE_INT,
        MediaReader::audioRate, "channels", G_TYPE_INT, channels, "layout", G_TYPE_STRING, "interleaved", nullptr));
    g_object_set(source, "caps", caps.get(), "format", GST_FORMAT_TIME, "stream-type", GST_APP_STREAM_TYPE_SEEKABLE,
        "max-buffers", guint64{4}, "max-bytes", guint64{0}, nullptr);
    GstAppSrcCallbacks callbacks{};
    callbacks.need_data = &Output::needData;
    callbacks.seek_data = &Output::seekData;
    gst_app_src_set_callbacks(GST_APP_SRC(source), &callbacks, this, nullptr);
    const GstBusHandle bus(gst_element_get_bus(bin.get()));
    gst_bus_set_sync_handler(bus.get(), &Output::message, this, nullptr);
}

PlaybackClock::Output::~Output()
{
    stopping.request_stop();
    gst_element_set_state(bin.get(), GST_STATE_NULL);
}

void PlaybackClock::Output::pushBlock(GstAppSrc* appSource)
{
    GstBuffer* buffer = gst_buffer_new_allocate(nullptr, blockSamples * channels * sizeof(float), nullptr);
    std::array<float, blockSamples * channels> mixed{};
    try {
        for (const auto& track : tracks)
            track->mix(position, mixed, stopping.get_token());
    } catch (const Cancelled&) {
        // Being destroyed.
    } catch (const Error&) {
        // A track that failed is silent.
    }
    std::shared_ptr<const HeardSpans> spans;
    {
        const std::scoped_lock lock(mutex);
        spans = heard;
    }
    spans->apply(position, MediaReader::audioRate, mixed);
    gst_buffer_fill(buffer, 0, mixed.data(), sizeof mixed);
    GST_BUFFER_PTS(buffer) = gst_util_uint64_scale(static_cast<guint64>(position), GST_SECOND, MediaReader::audioRate);
    GST_BUFFER_DURATION(buffer) = gst_util_uint64_scale(blockSamples, GST_SECOND, MediaReader::audioRate);
    position += static_cast<std::int64_t>(blockSamples);
    gst_app_src_push_buffer(appSource, buffer);
}

gboolean PlaybackClock::Output::seekData(GstAppSrc*, guint64 offset, gpointer self)
{
    static_cast<Output*>(self)->position =
        static_cast<std::int64_t>(gst_util_uint64_scale_round(offset, MediaReader::audioRate, GST_SECOND));
    return TRUE;
}

GstBusSyncReply PlaybackClock::Output::message(GstBus*, GstMessage* message, gpointer self)
{
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR)
        static_cast<Output*>(self)->failed = true;
    gst_message_unref(message);
    return GST_BUS_DROP;
}

PlaybackClock::PlaybackClock(std::vector<std::shared_ptr<AudioTrack>> tracks, const std::string& sink)
    : m_output(tracks.empty() ? nullptr : std::make_unique<Output>(std::move(tracks), sink))
{
}

PlaybackClock::~PlaybackClock() = default;

void PlaybackClock::prepare(double position, double rate)
{
    stop();
    const bool isHeard = m_output && !m_output->failed && rate >= minAudibleSpeed && rate <= maxAudibleSpeed;
    {
        const std::scoped_lock lock(m_mutex);
        m_anchor = position;
        m_rate = rate;
        m_isHeard = isHeard;
    }
    if (!isHeard)
        return;
    GstElement* bin = m_output->bin.get();
    gst_element_set_state(bin, GST_STATE_PAUSED);
    gst_element_seek(bin, rate, GST_FORMAT_TIME, static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE),
        GST_SEEK_TYPE_SET, static_cast<gint64>(toClockTime(position)), GST_SEEK_TYPE_NONE, 0);
}

void PlaybackClock::setHeard(HeardSpans spans)
{
    if (!m_output)
        return;
    auto heard = std::make_shared<const HeardSpans>(std::move(spans));
    const std::scoped_lock lock(m_output->mutex);
    m_output->heard = std::move(heard);
}

void PlaybackClock::run()
{
    bool isHeard = false;
    {
        const std::scoped_lock lock(m_mutex);
        m_isRunning = true;
        m_anchorTime = monotonicNanoseconds();
        isHeard = m_isHeard;
    }
    if (isHeard)
        gst_element_set_state(m_output->bin.get(), GST_STATE_PLAYING);
}

void PlaybackClock::stop()
{
    const double halt = position();
    bool wasHeard = false;
    {
        const std::scoped_lock lock(m_mutex);
        wasHeard = m_isRunning && m_isHeard;
        m_anchor = halt;
        m_isRunning = false;
    }
    if (wasHeard)
        gst_element_set_state(m_output->bin.get(), GST_STATE_PAUSED);
}

double PlaybackClock::position()
{
    const std::scoped_lock lock(m_mutex);
    if (!m_isRunning)
        return m_anchor;
    const std::int64_t time = monotonicNanoseconds();
    if (!m_isHeard)
        return m_anchor + static_cast<double>(time - m_anchorTime) * 1e-9 * m_rate;
    gint64 reported = 0;
    if (gst_element_query_position(m_output->bin.get(), GST_FORMAT_TIME, &reported)) {
        const double heard = static_cast<double>(reported) * 1e-9;
        if (heard > m_anchor) {
            m_anchor = heard;
            m_anchorTime = time;
        }
    }
    // Without the device, the system clock continues from the audio's position.
    if (m_output->failed || time - m_anchorTime > deviceStall) {
        m_isHeard = false;
        m_anchorTime = time;
    }
    return m_anchor;
}

} // namespace orvo
