#pragma once

#include "OrvoVideo/capture/screen/CapturedFrame.h"

#include <exception>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace orvo {

/// A V4L2 or PipeWire camera.
struct CameraDevice {
    std::string id;
    std::string label; ///< Shown to the user.
};

namespace Cameras {

/// The available cameras, the preferred one first.
std::vector<CameraDevice> list();

} // namespace Cameras

/// The frames of a camera, fitted into 1280×720 with black bars.
class CameraStream {
public:
    static constexpr FrameSize size{1280, 720};
    /// Maximum time from capture to delivery, in seconds; a larger value that a camera reports is clamped.
    static constexpr double maxDelay = 1;

    /// Called on threads of the stream, one call at a time, never after the stream is destroyed.
    struct Receiver {
        std::function<void(CapturedFrame)> frame;
        /// The camera is gone, with an error for the user. No call follows.
        std::function<void(std::exception_ptr)> ended;
    };

    /// Starts recording from the camera with this identifier; an empty one selects the first. Waits until it runs.
    ///
    /// Throws `captureError`: "No hay una cámara disponible." when there is none, "No se puede abrir la cámara." when it
    /// does not start or `stop` is requested, "Activa el permiso de cámara en Ajustes del Sistema." when access is
    /// denied.
    static std::unique_ptr<CameraStream> open(
        const std::string& device, Receiver receiver, const std::stop_token& stop = {});

    /// The identifier of the open camera.
    virtual const std::string& device() const = 0;

    CameraStream() = default;
    CameraStream(const CameraStream&) = delete;
    CameraStream& operator=(const CameraStream&) = delete;
    virtual ~CameraStream() = default;
};

} // namespace orvo
