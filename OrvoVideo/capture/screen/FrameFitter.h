#pragma once

#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "VideoCore/Geometry.h"

#include <cstdint>
#include <vector>

namespace orvo {

/// The place of a `source` frame in a `target` frame, in pixels: as large as fits, centred, never enlarged. All numbers
/// are even; an odd source loses its last line or column rather than being scaled.
struct FramePlace {
    int x = 0;
    int y = 0;
    FrameSize size;

    static FramePlace fitted(FrameSize source, FrameSize target);

    /// This rectangle in fractions of the target.
    Rect within(FrameSize target) const noexcept;

    friend bool operator==(const FramePlace&, const FramePlace&) = default;
};

/// Converts screen pixels to the format and size of a recording.
class FrameFitter {
public:
    /// 32-bit pixels; the fourth byte is not used.
    struct Source {
        enum class Order : std::uint8_t { blueGreenRed, redGreenBlue };

        const std::uint8_t* data = nullptr;
        int stride = 0; ///< Bytes from one line to the next.
        FrameSize size;
        Order order = Order::blueGreenRed; ///< Order of the bytes in memory.
    };

    /// Draws the source into `target` with black bars. Returns its place.
    FramePlace draw(const Source& source, FrameMemory& target);

private:
    std::vector<std::uint8_t> m_scaled;
};

} // namespace orvo
