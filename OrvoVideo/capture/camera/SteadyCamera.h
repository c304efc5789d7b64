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

/// The pictures of a camera for as long as this lives. One that is unplugged, or that gives no more pictures, is looked for
/// every second and goes on when it is there again; until then nothing is delivered.
class SteadyCamera {
public:
    /// Called on threads of the camera's own, one at a time, never after this object has gone.
    using Receiver = std::function<void(CapturedPicture)>;

    /// Begins to record from the camera with this identifier, or with an empty one from the first; it stays with that one.
    /// Throws what `CameraStream::open` throws.
    SteadyCamera(const std::string& device, Receiver receiver);
    ~SteadyCamera();
    SteadyCamera(const SteadyCamera&) = delete;
    SteadyCamera& operator=(const SteadyCamera&) = delete;

private:
    void open(const std::string& device, const std::stop_token& stop = {});
    void deliver(CapturedPicture picture);
    void lose();
    void keepOpen(const std::stop_token& stop);
    bool waitForItsEnd(const std::stop_token& stop);
    void reopen(const std::stop_token& stop);

    const Receiver m_receiver;
    std::string m_device;
    std::unique_ptr<CameraStream> m_stream; ///< Of the thread once that runs.

    std::mutex m_mutex; ///< Guards the following.
    std::condition_variable_any m_changed;
    CaptureTime m_newest; ///< When the last picture came.
    bool m_gone = false;

    std::jthread m_thread; ///< Last, so that it has ended when the others go.
};

} // namespace orvo
