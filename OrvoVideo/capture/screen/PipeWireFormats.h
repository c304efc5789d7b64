#pragma once

// For .cpp files only.

#include "OrvoVideo/capture/screen/GraphicsFrame.h"

#include <array>
#include <cstdint>
#include <optional>
#include <spa/param/video/raw.h>
#include <spa/pod/pod.h>
#include <span>
#include <vector>

namespace orvo {

/// The formats that a stream accepts from the desktop, as PipeWire parameters.
namespace PipeWireFormats {

/// Parameters and their memory. Not movable: the parameters point into the memory.
class Parameters {
public:
    Parameters() = default;
    Parameters(const Parameters&) = delete;
    Parameters& operator=(const Parameters&) = delete;

    const spa_pod** data() noexcept { return m_all.data(); }
    std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(m_all.size()); }

    /// Adds the accepted formats: first those in graphics memory, then those in plain memory.
    void addFormats(std::span<const GraphicsFormat> graphics, int fps);

    /// Requests this kind of memory, and the pointer's position with each frame.
    void addBuffers(bool inGraphicsMemory);

private:
    alignas(8) std::array<std::uint8_t, 16384> m_memory{};
    std::size_t m_used = 0;
    std::vector<const spa_pod*> m_all;
};

/// The agreed format in graphics memory; nullopt for plain memory.
std::optional<GraphicsFormat> graphicsFormat(const spa_video_info_raw& agreed);

} // namespace PipeWireFormats

} // namespace orvo
