#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/capture/audio/PulseConnection.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace orvo {

PulseLoop makePulseLoop()
{
    PulseLoop loop(pa_threaded_mainloop_new());
    if (!loop)
        throw captureError("No se puede usar el sonido del sistema.");
    return loop;
}

PulseContext makePulseContext(pa_threaded_mainloop* loop)
{
    PulseContext context(pa_context_new(pa_threaded_mainloop_get_api(loop), "Orvo Video"));
    if (!context)
        throw captureError("No se puede usar el sonido del sistema.");
    return context;
}

namespace {

using namespace std::chrono_literals;

constexpr auto maxAnswerTime = 3s;

/// Sends all queries at once and waits for the last answer.
class DeviceQuery {
public:
    DeviceQuery()
        : m_loop(makePulseLoop())
        , m_context(makePulseContext(m_loop.get()))
    {
        pa_context_set_state_callback(m_context.get(), &DeviceQuery::stateChanged, this);
        if (pa_context_connect(m_context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0
            || pa_threaded_mainloop_start(m_loop.get()) < 0)
            throw captureError("No hay un servidor de sonido.");
    }

    ~DeviceQuery()
    {
        pa_threaded_mainloop_stop(m_loop.get());
        pa_context_set_state_callback(m_context.get(), nullptr, nullptr);
        pa_context_disconnect(m_context.get());
    }

    DeviceQuery(const DeviceQuery&) = delete;
    DeviceQuery& operator=(const DeviceQuery&) = delete;

    AudioInputs::Devices devices()
    {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, maxAnswerTime, [this] { return m_failed || m_answers == 3; }) || m_failed)
            throw captureError("No hay un servidor de sonido.");
        for (auto& device : m_devices.microphones)
            device.isDefault = device.id == m_defaultSource;
        for (auto& device : m_devices.outputs)
            device.isDefault = device.id == m_defaultSink;
        return m_devices;
    }

    /// Returns false only if the server has no microphone or is not running.
    bool hasMicrophone()
    {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, maxAnswerTime, [this] { return m_failed || m_answers == 3; }))
            return true;
        return m_failed ? m_refused : !m_devices.microphones.empty();
    }

private:
    static DeviceQuery& of(void* self) { return *static_cast<DeviceQuery*>(self); }

    static void stateChanged(pa_context* context, void* self)
    {
        const auto state = pa_context_get_state(context);
        if (state == PA_CONTEXT_READY) {
            letGo(pa_context_get_server_info(context, &DeviceQuery::server, self));
            letGo(pa_context_get_source_info_list(context, &DeviceQuery::source, self));
            letGo(pa_context_get_sink_info_list(context, &DeviceQuery::sink, self));
        } else if (!PA_CONTEXT_IS_GOOD(state)) {
            of(self).note([context](DeviceQuery& query) {
                query.m_failed = true;
                query.m_refused = pa_context_errno(context) == PA_ERR_ACCESS;
            });
        }
    }

    static void server(pa_context*, const pa_server_info* info, void* self)
    {
        of(self).note([info](DeviceQuery& query) {
            if (info && info->default_source_name)
                query.m_defaultSource = info->default_source_name;
            if (info && info->default_sink_name)
                query.m_defaultSink = info->default_sink_name;
            ++query.m_answers;
        });
    }

    static void source(pa_context*, const pa_source_info* info, int end, void* self)
    {
        of(self).note([info, end](DeviceQuery& query) {
            if (end == 0 && info->monitor_of_sink == PA_INVALID_INDEX)
                add(query.m_devices.microphones, info->name, info->description);
            query.m_answers += end != 0 ? 1 : 0;
        });
    }

    static void sink(pa_context*, const pa_sink_info* info, int end, void* self)
    {
        of(self).note([info, end](DeviceQuery& query) {
            if (end == 0)
                add(query.m_devices.outputs, info->name, info->description);
            query.m_answers += end != 0 ? 1 : 0;
        });
    }

    static void add(std::vector<AudioDevice>& devices, const char* id, const char* label)
    {
        if (!std::ranges::contains(devices, std::string_view(id), &AudioDevice::id))
            devices.push_back({.id = id, .label = label && *label ? label : id});
    }

    template <typename Change> void note(Change change)
    {
        {
            const std::lock_guard lock(m_mutex);
            change(*this);
        }
        m_changed.notify_all();
    }

    PulseLoop m_loop;
    PulseContext m_context;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    AudioInputs::Devices m_devices;
    std::string m_defaultSource;
    std::string m_defaultSink;
    int m_answers = 0;
    bool m_failed = false;
    bool m_refused = false;
};

} // namespace

AudioInputs::Devices AudioInputs::list()
{
    return DeviceQuery().devices();
}

bool AudioInputs::hasMicrophone()
{
    try {
        return DeviceQuery().hasMicrophone();
    } catch (const Error&) {
        return false; // No server.
    }
}

} // namespace orvo
