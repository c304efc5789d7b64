#pragma once

#include <QProcess>
#include <cstdint>

namespace orvo::test {

/// A camera of 1280×720 in the PipeWire of this process's environment, which shows one colour. It is plugged in as long as
/// this lives; it also goes when a program that has read from it no longer does.
class VirtualCamera {
public:
    /// Waits until cameras are listed with it. Throws `std::runtime_error` when it does not come.
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
