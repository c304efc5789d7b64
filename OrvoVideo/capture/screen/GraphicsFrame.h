#pragma once

#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "VideoCore/UniqueFd.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace orvo {

/// The layout of pixels in graphics memory.
struct GraphicsFormat {
    static constexpr std::uint64_t linear = 0; ///< The modifier of a plain layout, line after line.

    std::uint32_t code = 0; ///< DRM fourcc code.
    std::uint64_t modifier = linear;

    static constexpr std::uint32_t codeOf(std::string_view characters)
    {
        std::uint32_t code = 0;
        for (std::size_t i = 4; i-- > 0;)
            code = code << 8 | static_cast<std::uint8_t>(characters[i]);
        return code;
    }

    friend bool operator==(const GraphicsFormat&, const GraphicsFormat&) = default;
};

/// A frame in graphics memory, lent by the desktop.
struct GraphicsFrame {
    struct Plane {
        UniqueFd memory;
        std::uint32_t offset = 0; ///< Bytes.
        std::uint32_t stride = 0; ///< Bytes.
    };

    GraphicsFormat format;
    FrameSize size;
    std::vector<Plane> planes;
    std::shared_ptr<void> loan; ///< The desktop may draw over the frame once this is released.
    /// Asks the desktop for plain memory from now on. Thread-safe; may outlive the stream.
    std::function<void()> refuse;

    /// Converts the frame into plain memory of the same or another size. Returns null for a frame that is not linear or
    /// cannot be read. Slow: processors read graphics memory slowly.
    std::shared_ptr<const FrameMemory> inMemory(FrameSize target) const;
};

} // namespace orvo
