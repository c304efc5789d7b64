#include "Platform/desktop/WindowSystem.h"

#include "Platform/desktop/Xcb.h"

#include <cstdlib>
#include <string_view>

namespace orvo {

WindowSystem windowSystem()
{
    const auto isSet = [](const char* name) {
        const char* value = std::getenv(name);
        return value && *value;
    };
    if (isSet("WAYLAND_DISPLAY"))
        return WindowSystem::wayland;
    return isSet("DISPLAY") ? WindowSystem::x11 : WindowSystem::none;
}

bool blendsWindows()
{
    if (windowSystem() != WindowSystem::x11)
        return true;
    const auto display = XcbDisplay::open();
    if (!display)
        return false;
    constexpr std::string_view name = "_NET_WM_CM_S0"; // Owned by the compositor.
    const XcbHandle<xcb_intern_atom_reply_t> atom(
        xcb_intern_atom_reply(display.get(), xcb_intern_atom(display.get(), 1, name.size(), name.data()), nullptr));
    if (!atom || atom->atom == XCB_NONE)
        return false;
    const XcbHandle<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(display.get(), xcb_get_selection_owner(display.get(), atom->atom), nullptr));
    return owner && owner->owner != XCB_NONE;
}

} // namespace orvo
