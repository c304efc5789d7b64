#include "OrvoVideo/capture/tracks/TrackFile.h"

#include "OrvoVideo/capture/tracks/FrameCoder.h"
#include "OrvoVideo/gstreamer/GstHandles.h"
#include "VideoCore/Error.h"
#include "VideoCore/UniqueFd.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <exception>
#include <fcntl.h>
#include <format>
#include <gst/app/gstappsrc.h>
#include <mutex>
#include <optional>
#include <unistd.h>
#include <utility>

namespace orvo {

namespace {

/// Samples queued for the encoder; more would only take memory.
constexpr int samplesInWork = 2;

/// Encoder delay of avenc_aac, in samples per channel.
constexpr std::size_t encoderDelay = 1024;

/// Frames arrive encoded; the first one brings the format.
constexpr const char* videoLine = "appsrc name=source format=time ! muxer.video_%u ";

std::string audioLine(const TrackFile::Audio& form)
{
    return std::format("appsrc name=source format=time caps=audio/x-raw,format=F32LE,rate={},channels={},layout=interleaved"
                       " ! audioconvert ! avenc_aac bitrate={} ! aacparse ! ",
        AudioBlock::rate, form.channels, TrackFile::audioBitRate);
}

std::string fileLine(const char* muxer)
{
    // Written data must reach the file at once, not stay in this process.
    return std::format("{} name=muxer fragment-duration={} fragment-mode=first-moov-then-finalise ! "
                       "filesink name=sink buffer-mode=unbuffered async=false sync=false",
        muxer, static_cast<int>(1000 * TrackFile::fragmentLength));
}

/// Reports a problem with the path before anything is recorded.
void makeEmpty(const std::filesystem::path& file)
{
    const UniqueFd created(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!created)
        throw std::filesystem::filesystem_error("create", file, std::error_code(errno, std::generic_category()));
}

} // namespace

class TrackFile::Pipeline {
public:
    Pipeline(std::filesystem::path file, const std::string& line)
        : m_file(std::move(file))
    {
        startGStreamer();
        GError* error = nullptr;
        GstElement* made = gst_parse_launch(line.c_str(), &error);
        m_bin.reset(made ? GST_ELEMENT(gst_object_ref_sink(made)) : nullptr);
        if (error) {
            const std::string reason = error->message;
            g_error_free(error);
            throw captureError("GStreamer no puede escribir grabaciones: " + reason);
        }
        m_source = element("source");
        g_object_set(element("sink").get(), "location", m_file.c_str(), nullptr);
        makeEmpty(m_file);

        const GstPadHandle exit(gst_element_get_static_pad(m_source.get(), "src"));
        gst_pad_add_probe(exit.get(), GST_PAD_PROBE_TYPE_BUFFER, &Pipeline::sampleLeft, this, nullptr);
        const GstBusHandle bus(gst_element_get_bus(m_bin.get()));
        gst_bus_set_sync_handler(bus.get(), &Pipeline::message, this, nullptr);
    }

    ~Pipeline()
    {
        // Stops the pipeline's threads before the members that they use are destroyed.
        gst_element_set_state(m_bin.get(), GST_STATE_NULL);
    }

    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    /// Writes an encoded frame. All frames have the format of the first one.
    void push(GstBuffer* buffer, GstCaps* caps)
    {
        if (!m_started)
            gst_app_src_set_caps(GST_APP_SRC(m_source.get()), caps);
        push(buffer);
    }

    void push(GstBuffer* buffer)
    {
        if (!std::exchange(m_started, true))
            gst_element_set_state(m_bin.get(), GST_STATE_PLAYING);
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return m_inWork < samplesInWork || m_failure; });
            if (m_failure) {
                gst_buffer_unref(buffer);
                throw captureError(*m_failure);
            }
            ++m_inWork;
        }
        gst_app_src_push_buffer(GST_APP_SRC(m_source.get()), buffer);
    }

    void finish()
    {
        if (!m_started) {
            removeEmpty(m_file);
            return;
        }
        gst_app_src_end_of_stream(GST_APP_SRC(m_source.get()));
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_ended || m_failure; });
        if (m_failure)
            throw captureError(*m_failure);
    }

    std::uint64_t audioFrames = 0; ///< Per channel, written so far.
    std::size_t audioToLeaveOut = encoderDelay;
    int channels = 1;

private:
    GstElementHandle element(const char* name) const
    {
        return GstElementHandle(gst_bin_get_by_name(GST_BIN(m_bin.get()), name));
    }

    static GstPadProbeReturn sampleLeft(GstPad*, GstPadProbeInfo*, gpointer self)
    {
        auto* pipeline = static_cast<Pipeline*>(self);
        {
            const std::lock_guard lock(pipeline->m_mutex);
            --pipeline->m_inWork;
        }
        pipeline->m_changed.notify_all();
        return GST_PAD_PROBE_OK;
    }

    static GstBusSyncReply message(GstBus*, GstMessage* message, gpointer self)
    {
        auto* pipeline = static_cast<Pipeline*>(self);
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR)
            pipeline->fail(message);
        else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS)
            pipeline->end();
        gst_message_unref(message);
        return GST_BUS_DROP;
    }

    void fail(GstMessage* message)
    {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        std::string text;
        if (g_error_matches(error, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NO_SPACE_LEFT))
            text = "No queda espacio en el disco para seguir grabando.";
        else if (error->domain == GST_RESOURCE_ERROR)
            text = std::format("No se puede seguir grabando «{}»: el archivo no admite más.", m_file.filename().string());
        else
            text = std::format("No se puede seguir grabando «{}»: {}", m_file.filename().string(), error->message);
        g_error_free(error);
        {
            const std::lock_guard lock(m_mutex);
            if (!m_failure)
                m_failure = text;
        }
        m_changed.notify_all();
    }

    void end()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_ended = true;
        }
        m_changed.notify_all();
    }

    std::filesystem::path m_file;
    GstElementHandle m_bin;
    GstElementHandle m_source;
    bool m_started = false;

    std::mutex m_mutex; ///< Guards the members below.
    std::condition_variable m_changed;
    int m_inWork = 0;
    bool m_ended = false;
    std::optional<std::string> m_failure;
};

TrackFile::TrackFile(const std::filesystem::path& file, const Frames& form)
    : m_pipeline(std::make_unique<Pipeline>(file, videoLine + fileLine("qtmux")))
    , m_coder(std::make_unique<FrameCoder>(
          FrameCoder::Form{
              .size = form.size, .fps = form.fps, .bitRate = bitRate(form.size), .keyFrameDistance = maxKeyFrameDistance},
          form.encoder ? *form.encoder : FrameEncoder::find(form.size, form.fps),
          [pipeline = m_pipeline.get()](GstBuffer* buffer, GstCaps* caps) { pipeline->push(buffer, caps); }))
{
}

TrackFile::TrackFile(const std::filesystem::path& file, const Audio& form)
    : m_pipeline(std::make_unique<Pipeline>(file, audioLine(form) + fileLine("mp4mux")))
{
    m_pipeline->channels = form.channels;
}

TrackFile::~TrackFile() = default;

void TrackFile::removeEmpty(const std::filesystem::path& file) noexcept
{
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

void TrackFile::write(const std::shared_ptr<const FrameMemory>& frame, double time, double length)
{
    m_coder->add(frame, toClockTime(time), toClockTime(length));
}

void TrackFile::write(std::span<const float> interleaved)
{
    // The encoder prepends its delay, which the file does not record; the first samples are dropped in exchange.
    const std::size_t left =
        std::min(m_pipeline->audioToLeaveOut * static_cast<std::size_t>(m_pipeline->channels), interleaved.size());
    m_pipeline->audioToLeaveOut -= left / static_cast<std::size_t>(m_pipeline->channels);
    interleaved = interleaved.subspan(left);
    if (interleaved.empty())
        return;
    const auto frames = interleaved.size() / static_cast<std::size_t>(m_pipeline->channels);
    GstBuffer* buffer = gst_buffer_new_memdup(interleaved.data(), interleaved.size_bytes());
    const auto clockTime = [](std::uint64_t position) {
        return gst_util_uint64_scale(position, GST_SECOND, static_cast<std::uint64_t>(AudioBlock::rate));
    };
    GST_BUFFER_PTS(buffer) = clockTime(m_pipeline->audioFrames);
    m_pipeline->audioFrames += frames;
    GST_BUFFER_DURATION(buffer) = clockTime(m_pipeline->audioFrames) - GST_BUFFER_PTS(buffer);
    m_pipeline->push(buffer);
}

void TrackFile::finish()
{
    if (m_coder)
        m_coder->finish();
    m_pipeline->finish();
}

} // namespace orvo
