#pragma once

// For .cpp files only.

#include "OrvoVideo/capture/screen/X11Connection.h"

#include <cstdint>
#include <optional>
#include <vector>
#include <xcb/shm.h>

namespace orvo {

/// Pixels of a drawable: 32 bits each, blue, green, red, unused, without padding. Valid until the next `take`.
struct X11Pixels {
    const std::uint8_t* data = nullptr;
    int width = 0;
    int height = 0;

    int stride() const noexcept { return 4 * width; }
};

/// Captures drawables, through memory shared with the server if possible.
class X11Frame {
public:
    explicit X11Frame(const X11Connection& connection);
    ~X11Frame();
    X11Frame(const X11Frame&) = delete;
    X11Frame& operator=(const X11Frame&) = delete;

    /// The pixels of an area inside the drawable. Returns nullopt when the server refuses, as for a window that is gone.
    std::optional<X11Pixels> take(xcb_drawable_t drawable, const PixelRect& area);

private:
    bool reserve(std::size_t bytes);
    void release();

    const X11Connection& m_connection;
    bool m_shares = false;
    xcb_shm_seg_t m_segment = 0;
    std::uint8_t* m_memory = nullptr;
    std::size_t m_size = 0;
    XcbHandle<xcb_get_image_reply_t> m_reply; ///< For a server without shared memory.
};

} // namespace orvo
