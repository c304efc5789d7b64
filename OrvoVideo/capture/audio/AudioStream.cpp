#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/capture/audio/PulseConnection.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <pulse/error.h>
#include <pulse/subscribe.h>
#include <pulse/timeval.h>
#include <span>
#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;

constexpr auto maxAnswerTime = 5s;
constexpr pa_usec_t retryAfter = 500'000; ///< Microseconds before looking again for a missing device.
constexpr std::uint32_t blocksEachSecond = 50;

/// Everything except `open` and the destructor runs on the loop's thread.
class PulseAudioStream final : public AudioStream {
public:
    PulseAudioStream(Input input, std::string device, Receiver receiver)
        : m_input(input)
        , m_chosen(std::move(device))
        , m_receiver(std::move(receiver))
        , m_loop(makePulseLoop())
    {
        connect();
        if (pa_threaded_mainloop_start(m_loop.get()) < 0)
            throw captureError("No se puede usar el sonido del sistema.");
    }

    ~PulseAudioStream() override
    {
        pa_threaded_mainloop_stop(m_loop.get());
        dropStream();
        dropContext();
    }

    float takePeak() override { return m_peak.exchange(0); }

    /// Waits until the device is found or missing.
    void waitForAnswer()
    {
        std::unique_lock lock(m_mutex);
        const bool answered = m_answered.wait_for(lock, maxAnswerTime, [this] { return m_answer.has_value(); });
        if (m_input == Input::systemAudio || (answered && *m_answer == Answer::running))
            return;
        throw captureError(answered && *m_answer == Answer::refused
                ? "Activa el permiso de micrófono en Ajustes del Sistema."
                : "No hay un micrófono disponible.");
    }

private:
    enum class Answer { running, refused, missing };

    static PulseAudioStream& of(void* self) { return *static_cast<PulseAudioStream*>(self); }

    void answer(Answer answer)
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_answer)
                return;
            m_answer = answer;
        }
        m_answered.notify_all();
    }

    void connect()
    {
        m_context = makePulseContext(m_loop.get());
        pa_context_set_state_callback(m_context.get(), &PulseAudioStream::contextChanged, this);
        pa_context_set_subscribe_callback(m_context.get(), &PulseAudioStream::serverChanged, this);
        if (pa_context_connect(m_context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
            lose();
    }

    void dropStream()
    {
        if (!m_stream)
            return;
        pa_stream_set_state_callback(m_stream.get(), nullptr, nullptr);
        pa_stream_set_read_callback(m_stream.get(), nullptr, nullptr);
        pa_stream_disconnect(m_stream.get());
        m_stream.reset();
    }

    void dropContext()
    {
        if (!m_context)
            return;
        pa_context_set_state_callback(m_context.get(), nullptr, nullptr);
        pa_context_set_subscribe_callback(m_context.get(), nullptr, nullptr);
        pa_context_disconnect(m_context.get());
        m_context.reset();
    }

    /// The device or the server is away: retries later.
    void lose(Answer reason = Answer::missing)
    {
        answer(reason);
        if (std::exchange(m_retries, true))
            return;
        auto* api = pa_threaded_mainloop_get_api(m_loop.get());
        timeval when{};
        pa_gettimeofday(&when);
        pa_timeval_add(&when, retryAfter);
        api->time_new(api, &when, &PulseAudioStream::retry, this);
    }

    static void retry(pa_mainloop_api* api, pa_time_event* event, const timeval*, void* self)
    {
        api->time_free(event);
        auto& stream = of(self);
        stream.m_retries = false;
        stream.dropStream();
        if (stream.m_context && PA_CONTEXT_IS_GOOD(pa_context_get_state(stream.m_context.get()))) {
            stream.findDevice();
            return;
        }
        stream.dropContext();
        try {
            stream.connect();
        } catch (const std::exception&) {
            stream.lose();
        }
    }

    static void contextChanged(pa_context* context, void* self)
    {
        const auto state = pa_context_get_state(context);
        if (state == PA_CONTEXT_READY) {
            letGo(pa_context_subscribe(context, PA_SUBSCRIPTION_MASK_SERVER, nullptr, nullptr));
            of(self).findDevice();
        } else if (!PA_CONTEXT_IS_GOOD(state)) {
            of(self).lose(pa_context_errno(context) == PA_ERR_ACCESS ? Answer::refused : Answer::missing);
        }
    }

    /// The default device may have changed.
    static void serverChanged(pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self)
    {
        if (of(self).m_chosen.empty())
            of(self).findDevice();
    }

    void findDevice()
    {
        if (m_chosen.empty())
            letGo(pa_context_get_server_info(m_context.get(), &PulseAudioStream::serverReported, this));
        else
            askFor(m_chosen.c_str());
    }

    static void serverReported(pa_context*, const pa_server_info* info, void* self)
    {
        const char* name = nullptr;
        if (info)
            name = of(self).m_input == Input::microphone ? info->default_source_name : info->default_sink_name;
        if (name)
            of(self).askFor(name);
        else
            of(self).lose();
    }

    void askFor(const char* name)
    {
        if (m_input == Input::microphone)
            letGo(pa_context_get_source_info_by_name(m_context.get(), name, &PulseAudioStream::sourceReported, this));
        else
            letGo(pa_context_get_sink_info_by_name(m_context.get(), name, &PulseAudioStream::sinkReported, this));
    }

    static void sourceReported(pa_context*, const pa_source_info* info, int end, void* self)
    {
        if (end > 0)
            return;
        // Without a microphone, a server may offer the monitor of an output instead.
        const bool isMicrophone = end == 0 && (info->monitor_of_sink == PA_INVALID_INDEX || !of(self).m_chosen.empty());
        if (isMicrophone)
            of(self).recordFrom(info->name, info->sample_spec.channels);
        else
            of(self).lose();
    }

    static void sinkReported(pa_context*, const pa_sink_info* info, int end, void* self)
    {
        if (end == 0)
            of(self).recordFrom(info->monitor_source_name, info->sample_spec.channels);
        else if (end < 0)
            of(self).lose();
    }

    void recordFrom(const char* source, int channels)
    {
        if (m_stream && m_source == source && PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream.get())))
            return;
        dropStream();
        m_source = source;
        m_channels = std::clamp(channels, 1, 2);
        const pa_sample_spec form{
            .format = PA_SAMPLE_FLOAT32LE, .rate = AudioBlock::rate, .channels = static_cast<std::uint8_t>(m_channels)};
        m_stream.reset(pa_stream_new(m_context.get(), "Grabación", &form, nullptr));
        if (!m_stream)
            return lose();
        pa_stream_set_state_callback(m_stream.get(), &PulseAudioStream::streamChanged, this);
        pa_stream_set_read_callback(m_stream.get(), &PulseAudioStream::heard, this);
        constexpr std::uint32_t serverDefault = ~std::uint32_t{0};
        pa_buffer_attr memory{};
        memory.maxlength = memory.tlength = memory.prebuf = memory.minreq = serverDefault;
        memory.fragsize = static_cast<std::uint32_t>(pa_bytes_per_second(&form)) / blocksEachSecond;
        const auto flags = static_cast<pa_stream_flags_t>(
            PA_STREAM_ADJUST_LATENCY | PA_STREAM_INTERPOLATE_TIMING | PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_DONT_MOVE);
        if (pa_stream_connect_record(m_stream.get(), source, &memory, flags) < 0)
            lose();
    }

    static void streamChanged(pa_stream* stream, void* self)
    {
        const auto state = pa_stream_get_state(stream);
        if (state == PA_STREAM_READY) {
            of(self).answer(Answer::running);
        } else if (!PA_STREAM_IS_GOOD(state)) {
            const bool isRefused = pa_context_errno(pa_stream_get_context(stream)) == PA_ERR_ACCESS;
            of(self).lose(isRefused ? Answer::refused : Answer::missing);
        }
    }

    static void heard(pa_stream* stream, std::size_t, void* self)
    {
        const CaptureTime now = CaptureClock::now();
        pa_usec_t age = 0;
        int isAhead = 0;
        const bool isTimed = pa_stream_get_latency(stream, &age, &isAhead) == 0;
        std::optional<CaptureTime> time;
        if (isTimed)
            time = isAhead ? now + std::chrono::microseconds(age) : now - std::chrono::microseconds(age);
        while (pa_stream_readable_size(stream) > 0) {
            const void* data = nullptr;
            std::size_t bytes = 0;
            if (pa_stream_peek(stream, &data, &bytes) < 0 || bytes == 0)
                return;
            auto& own = of(self);
            const auto samples = bytes / sizeof(float);
            const auto length =
                captureLength(static_cast<double>(samples) / own.m_channels / static_cast<double>(AudioBlock::rate));
            const CaptureTime begin = time.value_or(now - length);
            // No data means a hole, which shows in the times of later blocks.
            if (data)
                own.deliver(std::span(static_cast<const float*>(data), samples), begin);
            time = begin + length;
            pa_stream_drop(stream);
        }
    }

    void deliver(std::span<const float> samples, CaptureTime time)
    {
        float peak = 0;
        for (const float sample : samples)
            peak = std::max(peak, std::abs(sample));
        float before = m_peak;
        while (before < peak && !m_peak.compare_exchange_weak(before, std::min(peak, 1.0F))) { }
        m_receiver({.samples = {samples.begin(), samples.end()}, .channels = m_channels, .time = time});
    }

    const Input m_input;
    const std::string m_chosen;
    const Receiver m_receiver;
    std::atomic<float> m_peak = 0;

    PulseLoop m_loop;
    PulseContext m_context;
    PulseStream m_stream;
    std::string m_source;
    int m_channels = 1;
    bool m_retries = false;

    std::mutex m_mutex;
    std::condition_variable m_answered;
    std::optional<Answer> m_answer;
};

} // namespace

std::unique_ptr<AudioStream> AudioStream::open(Input input, const std::string& device, Receiver receiver)
{
    auto stream = std::make_unique<PulseAudioStream>(input, device, std::move(receiver));
    stream->waitForAnswer();
    return stream;
}

} // namespace orvo
