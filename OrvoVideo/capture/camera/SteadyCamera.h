#pragma once

#include "OrvoVideo/capture/camera/Cameras.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

namespace orvo {

/// Keeps a camera open. If it is unplugged or stops delivering, tries every second to reopen it by its identifier;
/// delivers nothing meanwhile.
class SteadyCamera {
public:
    /// Called on threads of the camera, one call at a time, never after this object is destroyed.
    using Receiver = std::function<void(CapturedFrame)>;

    /// Opens the camera with this identifier; an empty one selects the first and stays with it. Throws what
    /// `CameraStream::open` throws.
    SteadyCamera(const std::string& device, Receiver receiver);
    ~SteadyCamera();
    SteadyCamera(const SteadyCamera&) = delete;
    SteadyCamera& operator=(const SteadyCamera&) = delete;

private:
    void open(const std::string& device, const std::stop_token& stop = {});
    void deliver(CapturedFrame frame);
    void lose();
    void keepOpen(const std::stop_token& stop);
    bool waitForItsEnd(const std::stop_token& stop);
    void reopen(const std::stop_token& stop);

    const Receiver m_receiver;
    std::string m_device;
    std::unique_ptr<CameraStream> m_stream; ///< Owned by the thread once it runs.

    std::mutex m_mutex; ///< Guards the members below.
    std::condition_variable_any m_changed;
    CaptureTime m_newest; ///< Time of the last frame.
    bool m_gone = false;

    std::jthread m_thread; ///< Last member: stops before the others are destroyed.
};

} // namespace orvo
