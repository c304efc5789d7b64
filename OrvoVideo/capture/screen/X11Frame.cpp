#include "OrvoVideo/capture/screen/X11Frame.h"

#include <cstdint>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace orvo {

namespace {

constexpr std::uint32_t allPlanes = ~std::uint32_t{0};

} // namespace

X11Frame::X11Frame(const X11Connection& connection)
    : m_connection(connection)
{
    const auto* extension = xcb_get_extension_data(connection.get(), &xcb_shm_id);
    m_shares = extension && extension->present;
}

X11Frame::~X11Frame()
{
    release();
}

void X11Frame::release()
{
    if (!m_memory)
        return;
    xcb_shm_detach(m_connection.get(), m_segment);
    xcb_flush(m_connection.get());
    ::shmdt(m_memory);
    m_memory = nullptr;
    m_size = 0;
}

/// Allocates memory shared with the server. Returns false for a server on another machine.
bool X11Frame::reserve(std::size_t bytes)
{
    if (m_memory && m_size >= bytes)
        return true;
    release();
    const int memory = ::shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (memory < 0)
        return false;
    void* address = ::shmat(memory, nullptr, 0);
    if (reinterpret_cast<std::intptr_t>(address) == -1) {
        ::shmctl(memory, IPC_RMID, nullptr);
        return false;
    }
    m_segment = xcb_generate_id(m_connection.get());
    const XcbHandle<xcb_generic_error_t> error(xcb_request_check(
        m_connection.get(), xcb_shm_attach_checked(m_connection.get(), m_segment, static_cast<std::uint32_t>(memory), 0)));
    // The system frees it with the last process that uses it.
    ::shmctl(memory, IPC_RMID, nullptr);
    if (error) {
        ::shmdt(address);
        return false;
    }
    m_memory = static_cast<std::uint8_t*>(address);
    m_size = bytes;
    return true;
}

std::optional<X11Pixels> X11Frame::take(xcb_drawable_t drawable, const PixelRect& area)
{
    if (area.isEmpty())
        return std::nullopt;
    const auto x = static_cast<std::int16_t>(area.x);
    const auto y = static_cast<std::int16_t>(area.y);
    const auto width = static_cast<std::uint16_t>(area.width);
    const auto height = static_cast<std::uint16_t>(area.height);
    const std::size_t bytes = std::size_t{4} * width * height;
    X11Pixels pixels{.width = area.width, .height = area.height};
    m_shares = m_shares && reserve(bytes);
    if (m_shares) {
        const XcbHandle<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(m_connection.get(),
            xcb_shm_get_image(
                m_connection.get(), drawable, x, y, width, height, allPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment, 0),
            nullptr));
        if (!reply || !m_connection.hasPlainPixels(reply->depth))
            return std::nullopt;
        pixels.data = m_memory;
        return pixels;
    }
    m_reply.reset(xcb_get_image_reply(m_connection.get(),
        xcb_get_image(m_connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, x, y, width, height, allPlanes), nullptr));
    if (!m_reply || !m_connection.hasPlainPixels(m_reply->depth)
        || static_cast<std::size_t>(xcb_get_image_data_length(m_reply.get())) < bytes)
        return std::nullopt;
    pixels.data = xcb_get_image_data(m_reply.get());
    return pixels;
}

} // namespace orvo
