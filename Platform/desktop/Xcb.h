#pragma once

// For .cpp files only: no public header may show a type of the X11 library.

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace orvo {

struct XcbFree {
    void operator()(void* memory) const noexcept { std::free(memory); } // NOLINT(cppcoreguidelines-no-malloc)
};

/// A reply, an event or an error; null when there was none.
template <typename T> using XcbHandle = std::unique_ptr<T, XcbFree>;

struct XcbDisconnect {
    void operator()(xcb_connection_t* connection) const noexcept { xcb_disconnect(connection); }
};

using XcbConnection = std::unique_ptr<xcb_connection_t, XcbDisconnect>;

/// A connection to this session's display, and its root window. Empty when there is no display.
struct XcbDisplay {
    XcbConnection connection;
    xcb_window_t root = XCB_NONE;

    static XcbDisplay open()
    {
        XcbDisplay display{.connection = XcbConnection(xcb_connect(nullptr, nullptr))};
        if (xcb_connection_has_error(display.connection.get()) != 0)
            return {};
        display.root = xcb_setup_roots_iterator(xcb_get_setup(display.connection.get())).data->root;
        return display;
    }

    explicit operator bool() const noexcept { return connection != nullptr; }
    xcb_connection_t* get() const noexcept { return connection.get(); }
};

} // namespace orvo
