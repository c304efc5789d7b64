#include "OrvoVideo/capture/camera/SteadyCamera.h"

#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;

constexpr auto retryAfter = 1s;
constexpr auto longestSilence = 3s; ///< Without a picture. Even in the dark cameras make several a second.

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
        {.picture = [this](CapturedPicture picture) { deliver(std::move(picture)); },
            .ended = [this](const std::exception_ptr&) { lose(); }},
        stop);
}

void SteadyCamera::deliver(CapturedPicture picture)
{
    {
        const std::lock_guard lock(m_mutex);
        m_newest = CaptureClock::now();
    }
    m_receiver(std::move(picture));
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
        m_stream.reset(); // Its device becomes free for the system to give it the same name again.
        reopen(stop);
    }
    m_stream.reset();
}

/// False when this is to stop.
bool SteadyCamera::waitForItsEnd(const std::stop_token& stop)
{
    std::unique_lock lock(m_mutex);
    while (!stop.stop_requested() && !m_gone && CaptureClock::now() - m_newest < longestSilence)
        m_changed.wait_for(lock, stop, longestSilence / 2, [this] { return m_gone; });
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
            m_stream.reset(); // Not yet there.
        }
    }
}

} // namespace orvo
