#pragma once

#include "OrvoVideo/capture/screen/CapturedPicture.h"

#include <exception>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace orvo {

/// A camera, of V4L2 or of PipeWire.
struct CameraDevice {
    std::string id;
    std::string label; ///< Shown to the user.
};

namespace Cameras {

/// The cameras there are, each once, the preferred one first.
std::vector<CameraDevice> list();

} // namespace Cameras

/// The pictures of a camera, 1280×720 with black around them where its shape differs.
class CameraStream {
public:
    static constexpr PictureSize size{1280, 720};
    /// Seconds from the time of a picture until it is delivered, at most: what a camera tells beyond that is not believed.
    static constexpr double longestDelay = 1;

    /// Called on threads of the stream's own, one at a time, never after the stream has gone.
    struct Receiver {
        std::function<void(CapturedPicture)> picture;
        /// The camera has gone, with an error for the user. Nothing comes after it.
        std::function<void(std::exception_ptr)> ended;
    };

    /// Begins to record from the camera with this identifier, or with an empty one from the first. Waits until it runs.
    ///
    /// Throws `captureError`: "No hay una cámara disponible." when there is none, "No se puede abrir la cámara." when it
    /// does not run or the wait is given up, "Activa el permiso de cámara en Ajustes del Sistema." when the system refuses
    /// it.
    static std::unique_ptr<CameraStream> open(
        const std::string& device, Receiver receiver, const std::stop_token& stop = {});

    /// The identifier of the camera.
    virtual const std::string& device() const = 0;

    CameraStream() = default;
    CameraStream(const CameraStream&) = delete;
    CameraStream& operator=(const CameraStream&) = delete;
    virtual ~CameraStream() = default;
};

} // namespace orvo
