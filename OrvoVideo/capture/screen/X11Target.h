#pragma once

// Included by .cpp files only.

#include "OrvoVideo/capture/screen/CaptureSources.h"
#include "OrvoVideo/capture/screen/X11Connection.h"

#include <optional>

namespace orvo {

/// What of the X server's drawables a source is at a time: it moves, changes its size, goes and comes back.
///
/// Windows are kept whole by the server in memory of their own while one of these lives, also where others cover them.
class X11Target {
public:
    /// Throws `captureError` when the source is not there, or is none of X11.
    X11Target(X11Connection& connection, const CaptureSource& source, const std::optional<Rect>& region = std::nullopt);
    ~X11Target();
    X11Target(const X11Target&) = delete;
    X11Target& operator=(const X11Target&) = delete;

    struct View {
        xcb_drawable_t drawable = 0;
        PixelRect area; ///< What is recorded, in the drawable.
        PixelRect visible; ///< The part of it that lies within the drawable.
    };

    /// Where to take the picture from; nothing while there is none, as of a minimised window.
    std::optional<View> view() const { return m_view; }

    /// Where the source is in the root window.
    PixelRect place() const noexcept { return m_place; }

    /// The window whose changes are those of the source.
    xcb_window_t watched() const noexcept { return m_window ? m_window : m_connection.root(); }

    bool isWindow() const noexcept { return m_window != 0; }

    /// Looks again after something has changed. Throws `captureError` with a text for the user when the source has gone.
    void update();

private:
    void updateWindow();
    void updateDisplay();
    void freePixmap();

    X11Connection& m_connection;
    xcb_window_t m_window = 0;
    xcb_pixmap_t m_pixmap = 0; ///< The memory of the window.
    std::uint32_t m_monitor = 0;
    std::optional<PixelRect> m_region;
    PixelRect m_place;
    std::optional<View> m_view;
};

} // namespace orvo
