#include "OrvoVideo/capture/camera/SteadyCamera.h"

#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;

constexpr auto retryAfter = 1s;

} // namespace

SteadyCamera::SteadyCamera(const std::string& device, Receiver receiver)
    : m_receiver(std::move(receiver))
{
    open(device);
    m_device = m_stream->device();
    m_thread = std::jthread([this](const std::stop_token& stop) { keepOpen(stop); });
}

SteadyCamera::~SteadyCamera()
{
    m_thread.request_stop();
    m_thread.join();
}

void SteadyCamera::open(const std::string& device, const std::stop_token& stop)
{
    {
        const std::lock_guard lock(m_mutex);
        m_gone = false;
        m_newest = CaptureClock::now();
    }
    m_stream = CameraStream::open(device,
        {.frame = [this](CapturedFrame frame) { deliver(std::move(frame)); },
            .ended = [this](const std::exception_ptr&) { lose(); }},
        stop);
}

void SteadyCamera::deliver(CapturedFrame frame)
{
    {
        const std::lock_guard lock(m_mutex);
        m_newest = CaptureClock::now();
    }
    m_receiver(std::move(frame));
}

void SteadyCamera::lose()
{
    {
        const std::lock_guard lock(m_mutex);
        m_gone = true;
    }
    m_changed.notify_all();
}

void SteadyCamera::keepOpen(const std::stop_token& stop)
{
    while (waitForItsEnd(stop)) {
        m_stream.reset(); // Closes the device, so that the system can give it the same name again.
        reopen(stop);
    }
    m_stream.reset();
}

/// Waits until the camera stops delivering. Returns false on a stop request.
bool SteadyCamera::waitForItsEnd(const std::stop_token& stop)
{
    std::unique_lock lock(m_mutex);
    while (!stop.stop_requested() && !m_gone && CaptureClock::now() - m_newest < maxDeviceSilence)
        m_changed.wait_for(lock, stop, maxDeviceSilence / 2, [this] { return m_gone; });
    return !stop.stop_requested();
}

void SteadyCamera::reopen(const std::stop_token& stop)
{
    while (!m_stream && !stop.stop_requested()) {
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait_for(lock, stop, retryAfter, [] { return false; });
        }
        if (stop.stop_requested())
            return;
        try {
            open(m_device, stop);
        } catch (const std::exception&) {
            m_stream.reset(); // Not available yet.
        }
    }
}

} // namespace orvo
