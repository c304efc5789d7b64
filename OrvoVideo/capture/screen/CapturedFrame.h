#pragma once

#include "OrvoVideo/capture/CaptureTime.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace orvo {

/// Pixels.
struct FrameSize {
    int width = 0;
    int height = 0;

    friend bool operator==(const FrameSize&, const FrameSize&) = default;
};

struct GraphicsFrame;

/// A frame buffer in the form that encoders take: I420, BT.601 limited range. The three planes are contiguous; strides
/// are multiples of four bytes. Width and height are even.
///
/// May instead refer to a frame in graphics memory, where encoders read it; it then has no bytes.
class FrameMemory {
public:
    explicit FrameMemory(FrameSize size);

    /// A frame in graphics memory, to be fitted into `size` by the encoder.
    FrameMemory(FrameSize size, std::shared_ptr<const GraphicsFrame> graphics);

    /// Null for a frame in plain memory.
    const std::shared_ptr<const GraphicsFrame>& graphics() const noexcept { return m_graphics; }

    FrameSize size() const noexcept { return m_size; }

    std::uint8_t* luma() noexcept { return m_bytes.data(); }
    std::uint8_t* blue() noexcept { return m_bytes.data() + lumaBytes(); }
    std::uint8_t* red() noexcept { return m_bytes.data() + lumaBytes() + chromaBytes(); }
    const std::uint8_t* luma() const noexcept { return m_bytes.data(); }
    const std::uint8_t* blue() const noexcept { return m_bytes.data() + lumaBytes(); }
    const std::uint8_t* red() const noexcept { return m_bytes.data() + lumaBytes() + chromaBytes(); }

    int lumaStride() const noexcept { return (m_size.width + 3) / 4 * 4; }
    int chromaStride() const noexcept { return (m_size.width / 2 + 3) / 4 * 4; }

    const std::vector<std::uint8_t>& bytes() const noexcept { return m_bytes; }

    /// Fills the frame with black.
    void blacken();

private:
    std::size_t lumaBytes() const noexcept
    {
        return static_cast<std::size_t>(lumaStride()) * static_cast<std::size_t>(m_size.height);
    }
    std::size_t chromaBytes() const noexcept
    {
        return static_cast<std::size_t>(chromaStride()) * static_cast<std::size_t>(m_size.height) / 2;
    }

    FrameSize m_size;
    std::vector<std::uint8_t> m_bytes;
    std::shared_ptr<const GraphicsFrame> m_graphics;
};

/// A frame of the screen or a camera with its capture time; a cheap handle.
struct CapturedFrame {
    std::shared_ptr<const FrameMemory> memory;
    CaptureTime time;
};

/// A pool of frame buffers of one size, reused when released. Thread-safe.
class FramePool {
public:
    /// Frames waiting for the encoder or being encoded. When it is behind by more, further frames would only take memory.
    static constexpr std::size_t maxInUse = 8;

    explicit FramePool(FrameSize size);

    /// A buffer with undefined content; null while `maxInUse` of them are in use.
    std::shared_ptr<FrameMemory> take();

private:
    struct Free {
        std::mutex mutex;
        std::vector<std::unique_ptr<FrameMemory>> frames;
        std::size_t made = 0;
    };

    FrameSize m_size;
    std::shared_ptr<Free> m_free = std::make_shared<Free>(); ///< Shared, because buffers in use outlive the pool.
};

} // namespace orvo
