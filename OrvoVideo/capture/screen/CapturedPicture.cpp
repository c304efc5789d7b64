#include "OrvoVideo/capture/screen/CapturedPicture.h"

#include <algorithm>
#include <utility>

namespace orvo {

namespace {

constexpr std::uint8_t blackLuma = 16;
constexpr std::uint8_t grayChroma = 128;

} // namespace

PictureMemory::PictureMemory(PictureSize size)
    : m_size(size)
    , m_bytes(lumaBytes() + 2 * chromaBytes())
{
    blacken();
}

PictureMemory::PictureMemory(PictureSize size, std::shared_ptr<const GraphicsPicture> graphics)
    : m_size(size)
    , m_graphics(std::move(graphics))
{
}

void PictureMemory::blacken()
{
    const auto chroma = m_bytes.begin() + static_cast<std::ptrdiff_t>(lumaBytes());
    std::fill(m_bytes.begin(), chroma, blackLuma);
    std::fill(chroma, m_bytes.end(), grayChroma);
}

PicturePool::PicturePool(PictureSize size, std::size_t limit)
    : m_size(size)
    , m_limit(limit)
{
}

std::shared_ptr<PictureMemory> PicturePool::take()
{
    std::unique_ptr<PictureMemory> picture;
    {
        const std::lock_guard lock(m_free->mutex);
        if (!m_free->pictures.empty()) {
            picture = std::move(m_free->pictures.back());
            m_free->pictures.pop_back();
        } else if (m_free->made == m_limit) {
            return nullptr;
        } else {
            ++m_free->made;
        }
    }
    if (!picture)
        picture = std::make_unique<PictureMemory>(m_size);
    return {picture.release(), [free = m_free](PictureMemory* used) {
                std::unique_ptr<PictureMemory> back(used);
                const std::lock_guard lock(free->mutex);
                free->pictures.push_back(std::move(back));
            }};
}

} // namespace orvo
