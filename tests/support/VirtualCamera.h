#pragma once

#include <QProcess>
#include <cstdint>

namespace orvo::test {

/// A camera of one colour at 1280×720 in the PipeWire of this process's environment. Unplugged when the object is destroyed,
/// and also when a program stops reading from it.
class VirtualCamera {
public:
    /// Waits until PipeWire lists the camera. Throws `std::runtime_error` if it does not appear.
    explicit VirtualCamera(std::uint32_t colour);
    ~VirtualCamera();
    VirtualCamera(const VirtualCamera&) = delete;
    VirtualCamera& operator=(const VirtualCamera&) = delete;

    static constexpr auto id = "testcamera";
    static constexpr auto label = "Webcam";

private:
    QProcess m_program;
};

} // namespace orvo::test
