#pragma once

// For .cpp files only.

#include "OrvoVideo/capture/screen/CaptureSources.h"
#include "OrvoVideo/capture/screen/X11Connection.h"

#include <optional>

namespace orvo {

/// The drawable of a source, which may move, be resized, disappear and come back.
///
/// While this lives, the server keeps the whole window in memory, even where others cover it.
class X11Target {
public:
    /// Throws `captureError` when the source does not exist or is not an X11 one.
    X11Target(X11Connection& connection, const CaptureSource& source, const std::optional<Rect>& region = std::nullopt);
    ~X11Target();
    X11Target(const X11Target&) = delete;
    X11Target& operator=(const X11Target&) = delete;

    struct View {
        xcb_drawable_t drawable = 0;
        PixelRect area; ///< The recorded area, in the drawable.
        PixelRect visible; ///< The part of `area` inside the drawable.
    };

    /// The drawable and area to capture; nullopt while there are none, as for a minimised window.
    std::optional<View> view() const { return m_view; }

    /// The source's rectangle in the root window.
    PixelRect place() const noexcept { return m_place; }

    /// The window whose changes matter.
    xcb_window_t watched() const noexcept { return m_window ? m_window : m_connection.root(); }

    bool isWindow() const noexcept { return m_window != 0; }

    /// Reads the state again after a change. Throws `captureError` with a text for the user when the source is gone.
    void update();

private:
    void updateWindow();
    void updateDisplay();
    void freePixmap();

    X11Connection& m_connection;
    xcb_window_t m_window = 0;
    xcb_pixmap_t m_pixmap = 0; ///< The window's off-screen memory.
    std::uint32_t m_monitor = 0;
    std::optional<PixelRect> m_region;
    PixelRect m_place;
    std::optional<View> m_view;
};

} // namespace orvo
