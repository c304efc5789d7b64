#include "OrvoVideo/capture/screen/X11Connection.h"

#include "VideoCore/Error.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <format>
#include <ranges>
#include <span>
#include <utility>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/xfixes.h>

namespace orvo {

namespace {

/// The reply to a request, or null when it failed.
template <typename Reply, typename Cookie>
XcbHandle<Reply> answer(
    xcb_connection_t* connection, Reply* (*function)(xcb_connection_t*, Cookie, xcb_generic_error_t**), Cookie cookie)
{
    return XcbHandle<Reply>(function(connection, cookie, nullptr));
}

bool hasExtension(xcb_connection_t* connection, xcb_extension_t* extension)
{
    const auto* data = xcb_get_extension_data(connection, extension);
    return data && data->present;
}

constexpr std::uint32_t maxPropertyLength = 4096; // In words of 32 bits; enough for any readable title or list.

} // namespace

PixelRect PixelRect::within(const PixelRect& other) const
{
    const int left = std::max(x, other.x);
    const int top = std::max(y, other.y);
    const int right = std::min(x + width, other.x + other.width);
    const int bottom = std::min(y + height, other.y + other.height);
    return {.x = left, .y = top, .width = std::max(right - left, 0), .height = std::max(bottom - top, 0)};
}

Rect PixelRect::rect() const
{
    return {.x = static_cast<double>(x),
        .y = static_cast<double>(y),
        .width = static_cast<double>(width),
        .height = static_cast<double>(height)};
}

PixelRect PixelRect::of(const Rect& area)
{
    const int left = static_cast<int>(std::lround(area.x));
    const int top = static_cast<int>(std::lround(area.y));
    return {.x = left,
        .y = top,
        .width = static_cast<int>(std::lround(area.x + area.width)) - left,
        .height = static_cast<int>(std::lround(area.y + area.height)) - top};
}

X11Connection::X11Connection()
{
    int number = 0;
    m_connection.reset(xcb_connect(nullptr, &number));
    if (xcb_connection_has_error(get()) != 0)
        throw captureError("No hay una pantalla que grabar: no se puede conectar con el servidor gráfico.");
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(get()));
    while (number-- > 0 && screens.rem > 1)
        xcb_screen_next(&screens);
    m_screen = screens.data;
    for (const auto& [extension, name] : {std::pair{&xcb_randr_id, "RANDR"}, std::pair{&xcb_composite_id, "Composite"},
             std::pair{&xcb_damage_id, "DAMAGE"}, std::pair{&xcb_xfixes_id, "XFIXES"}}) {
        if (!hasExtension(get(), extension))
            throw captureError(std::format("El servidor gráfico no ofrece {}, que hace falta para grabar.", name));
    }
    // The server refuses requests of an extension before its version is negotiated.
    answer(get(), xcb_randr_query_version_reply, xcb_randr_query_version(get(), 1, 5));
    answer(get(), xcb_composite_query_version_reply, xcb_composite_query_version(get(), 0, 4));
    answer(get(), xcb_xfixes_query_version_reply, xcb_xfixes_query_version(get(), 5, 0));
    answer(get(), xcb_damage_query_version_reply, xcb_damage_query_version(get(), 1, 1));
}

std::vector<X11Connection::Monitor> X11Connection::monitors() const
{
    std::vector<Monitor> found;
    const auto reply =
        answer(get(), xcb_randr_get_monitors_reply, xcb_randr_get_monitors(get(), root(), 1 /* active ones */));
    if (reply) {
        for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0;
            xcb_randr_monitor_info_next(&each)) {
            found.push_back({.id = each.data->name,
                .rect = {.x = each.data->x, .y = each.data->y, .width = each.data->width, .height = each.data->height}});
        }
    }
    if (found.empty())
        found.push_back({.id = 0, .rect = drawableRect(root())});
    return found;
}

xcb_atom_t X11Connection::atom(const char* name) const
{
    const auto reply =
        answer(get(), xcb_intern_atom_reply, xcb_intern_atom(get(), 1, static_cast<std::uint16_t>(std::strlen(name)), name));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::string X11Connection::text(xcb_window_t window, xcb_atom_t property) const
{
    const auto reply = answer(get(), xcb_get_property_reply,
        xcb_get_property(get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, maxPropertyLength));
    if (!reply || reply->format != 8)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
        static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

std::vector<std::uint32_t> X11Connection::numbers(xcb_window_t window, xcb_atom_t property) const
{
    if (property == XCB_ATOM_NONE)
        return {};
    const auto reply = answer(get(), xcb_get_property_reply,
        xcb_get_property(get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, maxPropertyLength));
    if (!reply || reply->format != 32)
        return {};
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

std::vector<xcb_window_t> X11Connection::windowIds() const
{
    auto listed = numbers(root(), atom("_NET_CLIENT_LIST_STACKING"));
    if (listed.empty()) {
        // Without a window manager, the top-level windows are the children of the root.
        const auto tree = answer(get(), xcb_query_tree_reply, xcb_query_tree(get(), root()));
        if (!tree)
            return {};
        const auto* children = xcb_query_tree_children(tree.get());
        listed.assign(children, children + xcb_query_tree_children_length(tree.get()));
    }
    std::ranges::reverse(listed);
    return listed;
}

std::vector<X11Connection::Window> X11Connection::windows() const
{
    const xcb_atom_t netName = atom("_NET_WM_NAME");
    const xcb_atom_t netProcess = atom("_NET_WM_PID");
    std::vector<Window> found;
    for (const xcb_window_t id : windowIds()) {
        if (!isViewable(id).value_or(false))
            continue;
        const auto rect = windowRect(id);
        if (!rect)
            continue;
        Window window{.id = id, .rect = *rect};
        if (netName != XCB_ATOM_NONE)
            window.title = text(id, netName);
        if (window.title.empty())
            window.title = text(id, XCB_ATOM_WM_NAME);
        // WM_CLASS is two zero-terminated strings: instance and class.
        const std::string kind = text(id, XCB_ATOM_WM_CLASS);
        if (const auto end = kind.find('\0'); end != std::string::npos)
            window.application = kind.substr(end + 1, kind.find('\0', end + 1) - end - 1);
        if (const auto process = numbers(id, netProcess); !process.empty())
            window.process = process.front();
        found.push_back(std::move(window));
    }
    return found;
}

X11Connection::Margins X11Connection::windowMargins(xcb_window_t window) const
{
    const auto shadow = numbers(window, atom("_GTK_FRAME_EXTENTS"));
    if (shadow.size() != 4)
        return {};
    return {.left = static_cast<int>(shadow[0]),
        .right = static_cast<int>(shadow[1]),
        .top = static_cast<int>(shadow[2]),
        .bottom = static_cast<int>(shadow[3])};
}

std::optional<PixelRect> X11Connection::windowRect(xcb_window_t window) const
{
    const auto geometry = answer(get(), xcb_get_geometry_reply, xcb_get_geometry(get(), window));
    if (!geometry)
        return std::nullopt;
    const auto place =
        answer(get(), xcb_translate_coordinates_reply, xcb_translate_coordinates(get(), window, root(), 0, 0));
    if (!place)
        return std::nullopt;
    const Margins margins = windowMargins(window);
    return PixelRect{.x = place->dst_x + margins.left,
        .y = place->dst_y + margins.top,
        .width = geometry->width - margins.left - margins.right,
        .height = geometry->height - margins.top - margins.bottom};
}

std::optional<bool> X11Connection::isViewable(xcb_window_t window) const
{
    const auto attributes = answer(get(), xcb_get_window_attributes_reply, xcb_get_window_attributes(get(), window));
    if (!attributes)
        return std::nullopt;
    return attributes->map_state == XCB_MAP_STATE_VIEWABLE && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

PixelRect X11Connection::drawableRect(xcb_drawable_t drawable) const
{
    const auto geometry = answer(get(), xcb_get_geometry_reply, xcb_get_geometry(get(), drawable));
    if (!geometry)
        return {};
    return {.width = geometry->width, .height = geometry->height};
}

bool X11Connection::hasPlainPixels(int depth) const
{
    const xcb_setup_t* setup = xcb_get_setup(get());
    if (setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST || (depth != 24 && depth != 32))
        return false;
    const std::span formats(
        xcb_setup_pixmap_formats(setup), static_cast<std::size_t>(xcb_setup_pixmap_formats_length(setup)));
    return std::ranges::any_of(
        formats, [depth](const xcb_format_t& format) { return format.depth == depth && format.bits_per_pixel == 32; });
}

} // namespace orvo
