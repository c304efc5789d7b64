#include "OrvoVideo/capture/screen/GraphicsFrame.h"

#include "OrvoVideo/capture/screen/FrameFitter.h"

#include <linux/dma-buf.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

namespace orvo {

namespace {

/// Memory mapped for reading, synchronised with the graphics card.
class Mapping {
public:
    Mapping(int memory, std::size_t size)
        : m_memory(memory)
        , m_size(size)
        , m_address(::mmap(nullptr, size, PROT_READ, MAP_SHARED, memory, 0))
    {
        synchronise(DMA_BUF_SYNC_START);
    }
    ~Mapping()
    {
        if (!bytes())
            return;
        synchronise(DMA_BUF_SYNC_END);
        ::munmap(m_address, m_size);
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    const std::uint8_t* bytes() const
    {
        return m_address == MAP_FAILED ? nullptr : static_cast<const std::uint8_t*>(m_address);
    }

private:
    void synchronise(std::uint64_t what) const
    {
        dma_buf_sync sync{.flags = what | DMA_BUF_SYNC_READ};
        ::ioctl(m_memory, DMA_BUF_IOCTL_SYNC, &sync); // Fails for ordinary memory, which needs none.
    }

    int m_memory;
    std::size_t m_size;
    void* m_address;
};

} // namespace

std::shared_ptr<const FrameMemory> GraphicsFrame::inMemory(FrameSize target) const
{
    const bool isBlueFirst = format.code == GraphicsFormat::codeOf("XR24") || format.code == GraphicsFormat::codeOf("AR24");
    const bool isRedFirst = format.code == GraphicsFormat::codeOf("XB24") || format.code == GraphicsFormat::codeOf("AB24");
    if (format.modifier != GraphicsFormat::linear || planes.size() != 1 || (!isBlueFirst && !isRedFirst))
        return nullptr;
    const auto& [memory, offset, stride] = planes.front();
    if (stride < static_cast<std::uint32_t>(4 * size.width))
        return nullptr;
    const std::size_t length = std::size_t{stride} * static_cast<std::size_t>(size.height);
    const off_t there = ::lseek(memory.get(), 0, SEEK_END);
    if (there < 0 || static_cast<std::size_t>(there) < offset + length)
        return nullptr;
    const Mapping mapping(memory.get(), offset + length);
    if (!mapping.bytes())
        return nullptr;
    using Order = FrameFitter::Source::Order;
    auto frame = std::make_shared<FrameMemory>(target);
    FrameFitter().draw({.data = mapping.bytes() + offset,
                           .stride = static_cast<int>(stride),
                           .size = size,
                           .order = isRedFirst ? Order::redGreenBlue : Order::blueGreenRed},
        *frame);
    return frame;
}

} // namespace orvo
