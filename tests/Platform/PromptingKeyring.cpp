#include "PromptingKeyring.h"

#include <cstdlib>
#include <future>
#include <gio/gio.h>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::test {

namespace {

constexpr auto servicePath = "/org/freedesktop/secrets";
constexpr auto sessionPath = "/org/freedesktop/secrets/session/one";
constexpr auto collectionPath = "/org/freedesktop/secrets/collection/login";
constexpr auto aliasPath = "/org/freedesktop/secrets/aliases/default";
constexpr auto itemPath = "/org/freedesktop/secrets/collection/login/1";
constexpr auto promptPath = "/org/freedesktop/secrets/prompt/1";
constexpr auto nothing = "/";

/// What of the interface is used here.
constexpr auto description = R"xml(<node>
  <interface name="org.freedesktop.Secret.Service">
    <method name="OpenSession">
      <arg type="s" direction="in"/><arg type="v" direction="in"/><arg type="v" direction="out"/><arg type="o" direction="out"/>
    </method>
    <method name="CreateCollection">
      <arg type="a{sv}" direction="in"/><arg type="s" direction="in"/>
      <arg type="o" direction="out"/><arg type="o" direction="out"/>
    </method>
    <method name="SearchItems">
      <arg type="a{ss}" direction="in"/><arg type="ao" direction="out"/><arg type="ao" direction="out"/>
    </method>
    <method name="Unlock">
      <arg type="ao" direction="in"/><arg type="ao" direction="out"/><arg type="o" direction="out"/>
    </method>
    <method name="ReadAlias"><arg type="s" direction="in"/><arg type="o" direction="out"/></method>
    <property name="Collections" type="ao" access="read"/>
  </interface>
  <interface name="org.freedesktop.Secret.Session"><method name="Close"/></interface>
  <interface name="org.freedesktop.Secret.Collection">
    <method name="CreateItem">
      <arg type="a{sv}" direction="in"/><arg type="(oayays)" direction="in"/><arg type="b" direction="in"/>
      <arg type="o" direction="out"/><arg type="o" direction="out"/>
    </method>
    <property name="Items" type="ao" access="read"/>
    <property name="Label" type="s" access="read"/>
    <property name="Locked" type="b" access="read"/>
    <property name="Created" type="t" access="read"/>
    <property name="Modified" type="t" access="read"/>
  </interface>
  <interface name="org.freedesktop.Secret.Item">
    <method name="GetSecret"><arg type="o" direction="in"/><arg type="(oayays)" direction="out"/></method>
    <method name="SetSecret"><arg type="(oayays)" direction="in"/></method>
    <property name="Attributes" type="a{ss}" access="read"/>
    <property name="Label" type="s" access="read"/>
    <property name="Locked" type="b" access="read"/>
    <property name="Created" type="t" access="read"/>
    <property name="Modified" type="t" access="read"/>
  </interface>
  <interface name="org.freedesktop.Secret.Prompt">
    <method name="Prompt"><arg type="s" direction="in"/></method>
    <method name="Dismiss"/>
    <signal name="Completed"><arg type="b"/><arg type="v"/></signal>
  </interface>
</node>)xml";

struct Release {
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
    void operator()(GDBusNodeInfo* node) const { g_dbus_node_info_unref(node); }
    void operator()(GVariant* value) const { g_variant_unref(value); }
    void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
};
template <typename T> using Handle = std::unique_ptr<T, Release>;

GVariant* paths(std::initializer_list<const char*> list)
{
    return g_variant_new_objv(list.begin(), static_cast<gssize>(list.size()));
}

GVariant* bytes(std::string_view text)
{
    return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, text.data(), text.size(), 1);
}

} // namespace

class PromptingKeyring::Service {
public:
    explicit Service(Setup setup)
        : m_setup(std::move(setup))
        , m_context(g_main_context_new())
        , m_loop(g_main_loop_new(m_context.get(), FALSE))
        , m_interfaces(g_dbus_node_info_new_for_xml(description, nullptr))
        , m_hasKeyring(!m_setup.secret.empty())
    {
    }

    /// Serves until `stop`; `started` is told when it can be spoken to, or why it cannot.
    void run(std::promise<void>& started)
    {
        g_main_context_push_thread_default(m_context.get());
        try {
            connect();
            started.set_value();
            g_main_loop_run(m_loop.get());
        } catch (...) {
            started.set_exception(std::current_exception());
        }
        for (auto* call : std::exchange(m_unanswered, {}))
            g_object_unref(call);
        if (m_bus)
            g_dbus_connection_close_sync(m_bus.get(), nullptr, nullptr);
        m_bus.reset();
        g_main_context_pop_thread_default(m_context.get());
    }

    void stop()
    {
        g_main_context_invoke(
            m_context.get(),
            [](gpointer loop) {
                g_main_loop_quit(static_cast<GMainLoop*>(loop));
                return gboolean{G_SOURCE_REMOVE};
            },
            m_loop.get());
    }

    std::atomic<int> asked = 0;
    std::atomic<int> takenBack = 0;

    const std::string& secret() const { return m_setup.secret; }

private:
    void connect()
    {
        m_bus.reset(g_dbus_connection_new_for_address_sync(std::getenv("DBUS_SESSION_BUS_ADDRESS"),
            GDBusConnectionFlags(
                G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr));
        if (!m_bus)
            throw std::runtime_error("there is no bus");
        serve(servicePath, "org.freedesktop.Secret.Service");
        serve(sessionPath, "org.freedesktop.Secret.Session");
        serve(promptPath, "org.freedesktop.Secret.Prompt");
        if (m_hasKeyring)
            serveKeyring();
        constexpr guint32 doNotQueue = 4;
        const Handle<GVariant> answer(
            g_dbus_connection_call_sync(m_bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                "RequestName", g_variant_new("(su)", "org.freedesktop.secrets", doNotQueue), G_VARIANT_TYPE("(u)"),
                G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
        guint32 outcome = 0;
        if (answer)
            g_variant_get(answer.get(), "(u)", &outcome);
        if (outcome != 1)
            throw std::runtime_error("there is another secret service");
    }

    void serve(const char* path, const char* interface)
    {
        static const GDBusInterfaceVTable table{.method_call = &Service::called, .get_property = &Service::read};
        g_dbus_connection_register_object(m_bus.get(), path,
            g_dbus_node_info_lookup_interface(m_interfaces.get(), interface), &table, this, nullptr, nullptr);
    }

    void serveKeyring()
    {
        serve(collectionPath, "org.freedesktop.Secret.Collection");
        serve(aliasPath, "org.freedesktop.Secret.Collection");
        serve(itemPath, "org.freedesktop.Secret.Item");
    }

    static void called(GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant* arguments,
        GDBusMethodInvocation* call, gpointer self)
    {
        static_cast<Service*>(self)->answer(method, arguments, call);
    }

    void answer(std::string_view method, GVariant* in, GDBusMethodInvocation* call)
    {
        if (m_isSilent) {
            m_unanswered.push_back(call);
            return;
        }
        if (method == "OpenSession" && !isPlain(in))
            return g_dbus_method_invocation_return_dbus_error(call, "org.freedesktop.DBus.Error.NotSupported", "plain only");
        if (m_isLocked && (method == "GetSecret" || method == "SetSecret" || method == "CreateItem"))
            return g_dbus_method_invocation_return_dbus_error(call, "org.freedesktop.Secret.Error.IsLocked", "locked");
        g_dbus_method_invocation_return_value(call, outcome(method, in));
        if (method == "Prompt")
            ask();
        else if (method == "Dismiss")
            dismiss();
    }

    static bool isPlain(GVariant* in)
    {
        const char* algorithm = nullptr;
        g_variant_get_child(in, 0, "&s", &algorithm);
        return algorithm == std::string_view("plain");
    }

    GVariant* outcome(std::string_view method, GVariant* in)
    {
        if (method == "OpenSession")
            return g_variant_new("(vo)", g_variant_new_string(""), sessionPath);
        if (method == "SearchItems")
            return m_setup.secret.empty() ? g_variant_new("(@ao@ao)", paths({}), paths({}))
                : m_isLocked              ? g_variant_new("(@ao@ao)", paths({}), paths({itemPath}))
                                          : g_variant_new("(@ao@ao)", paths({itemPath}), paths({}));
        if (method == "ReadAlias")
            return g_variant_new("(o)", m_hasKeyring ? collectionPath : nothing);
        if (method == "Unlock") {
            m_opened.reset(g_variant_get_child_value(in, 0));
            return m_isLocked ? g_variant_new("(@aoo)", paths({}), promptPath)
                              : g_variant_new("(@aoo)", m_opened.get(), nothing);
        }
        if (method == "CreateCollection") {
            m_opened.reset(g_variant_ref_sink(g_variant_new_object_path(collectionPath)));
            return g_variant_new("(oo)", nothing, promptPath);
        }
        if (method == "GetSecret")
            return g_variant_new("((o@ay@ays))", sessionPath, bytes(""), bytes(m_setup.secret), "text/plain");
        if (method == "SetSecret") {
            keep(in, 0);
            return nullptr;
        }
        if (method == "CreateItem") {
            keep(in, 1);
            return g_variant_new("(oo)", itemPath, nothing);
        }
        return nullptr;
    }

    void keep(GVariant* in, gsize argument)
    {
        const Handle<GVariant> secret(g_variant_get_child_value(in, argument));
        const Handle<GVariant> value(g_variant_get_child_value(secret.get(), 2));
        gsize length = 0;
        const auto* content = static_cast<const char*>(g_variant_get_fixed_array(value.get(), &length, 1));
        m_setup.secret.assign(content, length);
    }

    void ask()
    {
        ++asked;
        if (m_setup.user == User::isAway)
            return;
        GSource* source = g_timeout_source_new(static_cast<guint>(m_setup.thinks.count()));
        g_source_set_callback(
            source,
            [](gpointer self) {
                auto* service = static_cast<Service*>(self);
                service->complete(service->m_setup.user == User::refuses);
                return gboolean{G_SOURCE_REMOVE};
            },
            this, nullptr);
        g_source_attach(source, m_context.get());
        g_source_unref(source);
    }

    void dismiss()
    {
        ++takenBack;
        complete(true);
    }

    void complete(bool isDismissed)
    {
        GVariant* opened = m_opened.get();
        if (isDismissed) {
            // Some services say that nothing was opened, others say nothing.
            opened = m_dismissals++ > 0          ? g_variant_new_string("")
                : g_variant_is_container(opened) ? paths({})
                                                 : g_variant_new_object_path(nothing);
        } else {
            m_isLocked = false;
            if (!std::exchange(m_hasKeyring, true))
                serveKeyring();
            m_isSilent = m_setup.isSilentAfterwards;
        }
        g_dbus_connection_emit_signal(m_bus.get(), nullptr, promptPath, "org.freedesktop.Secret.Prompt", "Completed",
            g_variant_new("(bv)", isDismissed ? TRUE : FALSE, opened), nullptr);
    }

    static GVariant* read(
        GDBusConnection*, const char*, const char*, const char*, const char* property, GError**, gpointer self)
    {
        return static_cast<Service*>(self)->property(property);
    }

    GVariant* property(std::string_view name) const
    {
        if (name == "Collections")
            return m_hasKeyring ? paths({collectionPath}) : paths({});
        if (name == "Items")
            return m_setup.secret.empty() ? paths({}) : paths({itemPath});
        if (name == "Locked")
            return g_variant_new_boolean(m_isLocked ? TRUE : FALSE);
        if (name == "Label")
            return g_variant_new_string("Inicio de sesión");
        if (name == "Attributes")
            return g_variant_new_parsed("{'account': 'adminToken', 'xdg:schema': 'es.orvo.video'}");
        return g_variant_new_uint64(0);
    }

    Setup m_setup;
    Handle<GMainContext> m_context;
    Handle<GMainLoop> m_loop;
    Handle<GDBusNodeInfo> m_interfaces;
    Handle<GDBusConnection> m_bus;
    Handle<GVariant> m_opened; ///< What the prompt is to open.
    std::vector<GDBusMethodInvocation*> m_unanswered;
    bool m_hasKeyring;
    bool m_isLocked = true;
    bool m_isSilent = false;
    int m_dismissals = 0;
};

PromptingKeyring::PromptingKeyring(const Setup& setup)
    : m_service(std::make_unique<Service>(setup))
{
    std::promise<void> started;
    m_thread = std::thread([this, &started] { m_service->run(started); });
    try {
        started.get_future().get();
    } catch (...) {
        m_thread.join();
        throw;
    }
}

PromptingKeyring::~PromptingKeyring()
{
    m_service->stop();
    m_thread.join();
}

int PromptingKeyring::asked() const
{
    return m_service->asked;
}

int PromptingKeyring::takenBack() const
{
    return m_service->takenBack;
}

std::string PromptingKeyring::secret() const
{
    return m_service->secret();
}

} // namespace orvo::test
