#pragma once

// Included by .cpp files only.

#include "OrvoVideo/capture/screen/X11Connection.h"

#include <cstdint>
#include <optional>
#include <vector>
#include <xcb/shm.h>

namespace orvo {

/// Pixels of a drawable: 32 bits each, blue, green, red and one more byte, lines one after the other. Holds until the next
/// picture is taken.
struct X11Pixels {
    const std::uint8_t* data = nullptr;
    int width = 0;
    int height = 0;

    int stride() const noexcept { return 4 * width; }
};

/// Takes pictures of drawables, through memory shared with the server where that is possible.
class X11Picture {
public:
    explicit X11Picture(const X11Connection& connection);
    ~X11Picture();
    X11Picture(const X11Picture&) = delete;
    X11Picture& operator=(const X11Picture&) = delete;

    /// The pixels of an area that lies within the drawable. Nothing when the server refuses, as for a window that has gone.
    std::optional<X11Pixels> take(xcb_drawable_t drawable, const PixelRect& area);

private:
    bool reserve(std::size_t bytes);
    void release();

    const X11Connection& m_connection;
    bool m_shares = false;
    xcb_shm_seg_t m_segment = 0;
    std::uint8_t* m_memory = nullptr;
    std::size_t m_size = 0;
    XcbHandle<xcb_get_image_reply_t> m_reply; ///< Of a server that shares no memory.
};

} // namespace orvo
