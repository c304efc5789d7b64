#include "OrvoVideo/capture/screen/CapturedFrame.h"

#include <algorithm>
#include <utility>

namespace orvo {

namespace {

constexpr std::uint8_t blackLuma = 16;
constexpr std::uint8_t grayChroma = 128;

} // namespace

FrameMemory::FrameMemory(FrameSize size)
    : m_size(size)
    , m_bytes(lumaBytes() + 2 * chromaBytes())
{
    blacken();
}

FrameMemory::FrameMemory(FrameSize size, std::shared_ptr<const GraphicsFrame> graphics)
    : m_size(size)
    , m_graphics(std::move(graphics))
{
}

void FrameMemory::blacken()
{
    const auto chroma = m_bytes.begin() + static_cast<std::ptrdiff_t>(lumaBytes());
    std::fill(m_bytes.begin(), chroma, blackLuma);
    std::fill(chroma, m_bytes.end(), grayChroma);
}

FramePool::FramePool(FrameSize size)
    : m_size(size)
{
}

std::shared_ptr<FrameMemory> FramePool::take()
{
    std::unique_ptr<FrameMemory> frame;
    {
        const std::lock_guard lock(m_free->mutex);
        if (!m_free->frames.empty()) {
            frame = std::move(m_free->frames.back());
            m_free->frames.pop_back();
        } else if (m_free->made == maxInUse) {
            return nullptr;
        } else {
            ++m_free->made;
        }
    }
    if (!frame)
        frame = std::make_unique<FrameMemory>(m_size);
    return {frame.release(), [free = m_free](FrameMemory* used) {
                std::unique_ptr<FrameMemory> back(used);
                const std::lock_guard lock(free->mutex);
                free->frames.push_back(std::move(back));
            }};
}

} // namespace orvo
