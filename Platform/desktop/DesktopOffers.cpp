#include "Platform/desktop/DesktopOffers.h"

#include "Platform/desktop/Xcb.h"

#include <gio/gio.h>
#include <memory>
#include <string_view>

namespace orvo {

namespace {

constexpr int answerLimit = 2'000; ///< Milliseconds.

struct Release {
    void operator()(GDBusConnection* bus) const { g_object_unref(bus); }
    void operator()(GVariant* value) const { g_variant_unref(value); }
};
using Bus = std::unique_ptr<GDBusConnection, Release>;
using Value = std::unique_ptr<GVariant, Release>;

/// Calls a method; returns null when the call fails.
Value call(GDBusConnection& bus, const char* service, const char* path, const char* interface, const char* method,
    GVariant* arguments)
{
    return Value(g_dbus_connection_call_sync(
        &bus, service, path, interface, method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, answerLimit, nullptr, nullptr));
}

/// Reads a property of an object; returns null on failure.
Value property(GDBusConnection& bus, const char* service, const char* path, const char* interface, const char* name)
{
    const Value answer =
        call(bus, service, path, "org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", interface, name));
    if (!answer)
        return nullptr;
    GVariant* value = nullptr;
    g_variant_get(answer.get(), "(v)", &value);
    return Value(value);
}

std::uint32_t portalVersion(GDBusConnection& bus, const char* interface)
{
    const Value version =
        property(bus, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop", interface, "version");
    return version && g_variant_is_of_type(version.get(), G_VARIANT_TYPE_UINT32) ? g_variant_get_uint32(version.get()) : 0;
}

bool isListed(GDBusConnection& bus, const char* method, std::string_view name)
{
    constexpr auto daemon = "org.freedesktop.DBus";
    const Value answer = call(bus, daemon, "/org/freedesktop/DBus", daemon, method, nullptr);
    if (!answer)
        return false;
    GVariantIter* names = nullptr;
    g_variant_get(answer.get(), "(as)", &names);
    bool found = false;
    const char* each = nullptr;
    while (g_variant_iter_next(names, "&s", &each))
        found = found || name == each;
    g_variant_iter_free(names);
    return found;
}

bool hasTrayOnBus(GDBusConnection& bus)
{
    constexpr auto watcher = "org.kde.StatusNotifierWatcher";
    const Value hosted = property(bus, watcher, "/StatusNotifierWatcher", watcher, "IsStatusNotifierHostRegistered");
    return hosted && g_variant_is_of_type(hosted.get(), G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(hosted.get());
}

/// Whether a tray of the older kind, which owns a selection of the display, is running.
bool hasTrayOnDisplay()
{
    const auto display = XcbDisplay::open();
    if (!display)
        return false;
    constexpr std::string_view name = "_NET_SYSTEM_TRAY_S0";
    const XcbHandle<xcb_intern_atom_reply_t> atom(
        xcb_intern_atom_reply(display.get(), xcb_intern_atom(display.get(), 1, name.size(), name.data()), nullptr));
    if (!atom || atom->atom == XCB_NONE)
        return false;
    const XcbHandle<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(display.get(), xcb_get_selection_owner(display.get(), atom->atom), nullptr));
    return owner && owner->owner != XCB_NONE;
}

/// Returns null when there is no session bus.
Bus sessionBus()
{
    Bus bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (bus)
        g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    return bus;
}

} // namespace

bool DesktopOffers::hasFilePanels()
{
    const Bus bus = sessionBus();
    return bus && portalVersion(*bus, "org.freedesktop.portal.FileChooser") > 0;
}

DesktopOffers DesktopOffers::look()
{
    DesktopOffers offers;
    if (const Bus bus = sessionBus(); bus) {
        constexpr auto keyring = "org.freedesktop.secrets";
        offers.hasBus = true;
        offers.screenCast = portalVersion(*bus, "org.freedesktop.portal.ScreenCast");
        offers.globalShortcuts = portalVersion(*bus, "org.freedesktop.portal.GlobalShortcuts");
        offers.hasTray = hasTrayOnBus(*bus);
        offers.hasKeyring = isListed(*bus, "ListNames", keyring) || isListed(*bus, "ListActivatableNames", keyring);
    }
    offers.hasTray = offers.hasTray || hasTrayOnDisplay();
    return offers;
}

} // namespace orvo
