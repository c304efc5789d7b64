#include "Platform/notifications/Notifications.h"

#include <gio/gio.h>
#include <memory>
#include <string>

namespace orvo::notification {

void post(std::string_view name) noexcept
{
    constexpr unsigned maxWaitSeconds = 1;
    const std::unique_ptr<GCancellable, decltype(&g_object_unref)> limit(g_cancellable_new(), g_object_unref);
    // A separate main context, so that waiting here runs no other callbacks.
    const std::unique_ptr<GMainContext, decltype(&g_main_context_unref)> context(g_main_context_new(), g_main_context_unref);
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(
        g_main_loop_new(context.get(), FALSE), g_main_loop_unref);
    g_main_context_push_thread_default(context.get());

    struct Post {
        GMainLoop* loop;
        GCancellable* limit;
        std::string name;
    } data{loop.get(), limit.get(), std::string(name)};
    static constexpr auto flushed = [](GObject* bus, GAsyncResult* result, gpointer post) {
        g_dbus_connection_flush_finish(G_DBUS_CONNECTION(bus), result, nullptr);
        g_object_unref(bus);
        g_main_loop_quit(static_cast<Post*>(post)->loop);
    };
    static constexpr auto connected = [](GObject*, GAsyncResult* result, gpointer post) {
        const auto& what = *static_cast<Post*>(post);
        GDBusConnection* bus = g_bus_get_finish(result, nullptr);
        if (!bus) {
            g_main_loop_quit(what.loop);
            return;
        }
        g_dbus_connection_set_exit_on_close(bus, FALSE);
        g_dbus_connection_emit_signal(
            bus, nullptr, path, interface, member, g_variant_new("(s)", what.name.c_str()), nullptr);
        g_dbus_connection_flush(bus, what.limit, flushed, post);
    };
    g_bus_get(G_BUS_TYPE_SESSION, limit.get(), connected, &data);
    const std::unique_ptr<GSource, decltype(&g_source_unref)> alarm(
        g_timeout_source_new_seconds(maxWaitSeconds), g_source_unref);
    g_source_set_callback(
        alarm.get(),
        [](gpointer cancellable) -> gboolean {
            g_cancellable_cancel(static_cast<GCancellable*>(cancellable));
            return G_SOURCE_REMOVE;
        },
        limit.get(), nullptr);
    g_source_attach(alarm.get(), context.get());
    g_main_loop_run(loop.get());
    g_source_destroy(alarm.get());
    g_main_context_pop_thread_default(context.get());
}

} // namespace orvo::notification
