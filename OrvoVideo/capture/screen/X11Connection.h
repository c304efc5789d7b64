#pragma once

// For .cpp files only.

#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "Platform/desktop/Xcb.h"
#include "VideoCore/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo {

/// A rectangle in pixels of a drawable.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool isEmpty() const noexcept { return width <= 0 || height <= 0; }
    PixelRect within(const PixelRect& other) const;
    Rect rect() const;

    /// The pixels of which the area covers at least half.
    static PixelRect of(const Rect& area);

    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

/// A connection to the X server. Failed requests return errors and never end the process. One thread.
class X11Connection {
public:
    struct Monitor {
        std::uint32_t id = 0; ///< Stable while the monitor is connected.
        PixelRect rect;
    };

    struct Window {
        xcb_window_t id = 0;
        std::string title;
        std::string application; ///< Empty if unknown.
        std::optional<std::uint32_t> process;
        PixelRect rect; ///< The visible content, in the root window.
    };

    /// Throws `captureError` when there is no server, or it lacks an extension that capture needs.
    X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    xcb_connection_t* get() const noexcept { return m_connection.get(); }
    const xcb_screen_t& screen() const noexcept { return *m_screen; }
    xcb_window_t root() const noexcept { return m_screen->root; }

    std::vector<Monitor> monitors() const;

    /// The visible windows, topmost first.
    std::vector<Window> windows() const;

    /// The content of a window without its shadow; nullopt when the window is gone.
    std::optional<PixelRect> windowRect(xcb_window_t window) const;

    /// The margins around a window's content, inside the window.
    struct Margins {
        int left = 0;
        int right = 0;
        int top = 0;
        int bottom = 0;
    };
    Margins windowMargins(xcb_window_t window) const;

    /// Whether a window is mapped; nullopt when it is gone.
    std::optional<bool> isViewable(xcb_window_t window) const;

    PixelRect drawableRect(xcb_drawable_t drawable) const;

    /// Whether pixels of this depth are 32 bits: blue, green, red, unused.
    bool hasPlainPixels(int depth) const;

private:
    xcb_atom_t atom(const char* name) const;
    std::string text(xcb_window_t window, xcb_atom_t property) const;
    std::vector<std::uint32_t> numbers(xcb_window_t window, xcb_atom_t property) const;
    std::vector<xcb_window_t> windowIds() const;

    XcbConnection m_connection;
    xcb_screen_t* m_screen = nullptr;
};

} // namespace orvo
