#include "OrvoVideo/capture/screen/X11Target.h"

#include "VideoCore/Error.h"

#include <algorithm>
#include <xcb/composite.h>

namespace orvo {

X11Target::X11Target(X11Connection& connection, const CaptureSource& source, const std::optional<Rect>& region)
    : m_connection(connection)
{
    if (region)
        m_region = PixelRect::of(*region);
    if (source.windowID) {
        m_window = *source.windowID;
        // From now on the server keeps covered parts of the window.
        xcb_composite_redirect_window(m_connection.get(), m_window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    } else if (source.displayID) {
        m_monitor = *source.displayID;
    } else {
        throw captureError("Selecciona una pantalla o ventana disponible.");
    }
    update();
}

X11Target::~X11Target()
{
    freePixmap();
    if (m_window)
        xcb_composite_unredirect_window(m_connection.get(), m_window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    xcb_flush(m_connection.get());
}

void X11Target::freePixmap()
{
    if (m_pixmap)
        xcb_free_pixmap(m_connection.get(), m_pixmap);
    m_pixmap = 0;
}

void X11Target::update()
{
    m_view.reset();
    if (isWindow())
        updateWindow();
    else
        updateDisplay();
}

void X11Target::updateWindow()
{
    const auto viewable = m_connection.isViewable(m_window);
    const auto place = m_connection.windowRect(m_window);
    if (!viewable || !place)
        throw captureError("La ventana que se grababa se ha cerrado.");
    if (!*viewable || place->isEmpty())
        return; // The frame before it was minimised stays.
    m_place = *place;
    // Mapping or resizing a window replaces its pixmap.
    freePixmap();
    const xcb_pixmap_t pixmap = xcb_generate_id(m_connection.get());
    const XcbHandle<xcb_generic_error_t> error(xcb_request_check(
        m_connection.get(), xcb_composite_name_window_pixmap_checked(m_connection.get(), m_window, pixmap)));
    if (error)
        return;
    m_pixmap = pixmap;
    const auto margins = m_connection.windowMargins(m_window);
    const PixelRect memory = m_connection.drawableRect(m_pixmap);
    // The pixmap includes the window's border.
    const int border = std::max((memory.width - place->width - margins.left - margins.right) / 2, 0);
    const PixelRect area{
        .x = border + margins.left, .y = border + margins.top, .width = place->width, .height = place->height};
    m_view = View{.drawable = m_pixmap, .area = area, .visible = area.within(memory)};
}

void X11Target::updateDisplay()
{
    const auto monitors = m_connection.monitors();
    const auto found = std::ranges::find(monitors, m_monitor, &X11Connection::Monitor::id);
    if (found == monitors.end())
        throw captureError("La pantalla que se grababa se ha desconectado.");
    m_place = m_region.value_or(found->rect);
    m_view = View{.drawable = m_connection.root(),
        .area = m_place,
        .visible = m_place.within(m_connection.drawableRect(m_connection.root()))};
    if (m_view->visible.isEmpty())
        m_view.reset();
}

} // namespace orvo
