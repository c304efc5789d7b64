#include "Platform/keychain/Keychain.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <cctype>
#include <format>
#include <functional>
#include <libsecret/secret.h>
#include <memory>
#include <optional>
#include <utility>

namespace orvo::Keychain {

namespace {

constexpr guint answerLimit = 5'000; ///< Milliseconds.
constexpr auto itemLabel = "Orvo Video";

// Error numbers; see the header.
constexpr int emptySecret = 0;
constexpr int noSecret = -25'300;
constexpr int locked = SECRET_ERROR_IS_LOCKED;
constexpr int ofOperations = 100;
constexpr int ofTheBus = 200;
constexpr int noBus = 300;

/// A failure and its number.
struct Failure {
    int status = 0;
};

struct Release {
    void operator()(void* object) const { g_object_unref(object); }
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
    void operator()(SecretValue* value) const { secret_value_unref(value); }
    void operator()(GVariant* value) const { g_variant_unref(value); }
    void operator()(GList* objects) const { g_list_free_full(objects, g_object_unref); }
};
template <typename T> using Handle = std::unique_ptr<T, Release>;

int statusOf(const GError& error)
{
    if (error.domain == SECRET_ERROR)
        return error.code;
    return (error.domain == G_DBUS_ERROR ? ofTheBus : ofOperations) + error.code;
}

/// A conversation with the service on this thread, in its own main context, with a time limit.
class Conversation {
public:
    explicit Conversation(const std::stop_token& stop)
        : m_context(g_main_context_new())
        , m_cancellable(g_cancellable_new())
        , m_stop(stop)
        , m_stopped(stop, [this] { g_cancellable_cancel(m_cancellable.get()); })
    {
        g_main_context_push_thread_default(m_context.get());
        s_current = this;
        setLimit();
    }
    ~Conversation()
    {
        liftLimit();
        s_current = nullptr;
        g_main_context_pop_thread_default(m_context.get());
    }
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    /// Starts an operation and waits for its result, which `finish` takes. Throws `Failure` and `Cancelled`.
    template <typename Start, typename Finish> auto ask(Start start, Finish finish)
    {
        m_result.reset();
        start(m_cancellable.get(), &Conversation::answered, this);
        while (!m_result)
            g_main_context_iteration(m_context.get(), TRUE);
        GError* error = nullptr;
        const auto value = finish(m_result.get(), &error);
        if (m_stop.stop_requested()) {
            g_clear_error(&error);
            throw Cancelled();
        }
        if (error) {
            const int status = m_expired ? ofOperations + G_IO_ERROR_TIMED_OUT : statusOf(*error);
            g_error_free(error);
            throw Failure{status};
        }
        return value;
    }

    /// Lifts the limit: the user may take any time to answer.
    static void userIsAsked()
    {
        if (s_current)
            s_current->liftLimit();
    }
    /// Sets the limit again: the service must answer.
    static void userHasAnswered()
    {
        if (s_current)
            s_current->setLimit();
    }

private:
    static gboolean expired(gpointer self)
    {
        auto* conversation = static_cast<Conversation*>(self);
        conversation->m_expired = true;
        g_cancellable_cancel(conversation->m_cancellable.get());
        return G_SOURCE_REMOVE;
    }

    static void answered(GObject*, GAsyncResult* result, gpointer self)
    {
        g_object_ref(result);
        static_cast<Conversation*>(self)->m_result.reset(result);
    }

    void setLimit()
    {
        liftLimit();
        m_limit = g_timeout_source_new(answerLimit);
        g_source_set_callback(m_limit, &Conversation::expired, this, nullptr);
        g_source_attach(m_limit, m_context.get());
    }

    void liftLimit()
    {
        if (GSource* limit = std::exchange(m_limit, nullptr)) {
            g_source_destroy(limit);
            g_source_unref(limit);
        }
    }

    static thread_local Conversation* s_current;

    Handle<GMainContext> m_context;
    Handle<GCancellable> m_cancellable;
    Handle<GAsyncResult> m_result;
    GSource* m_limit = nullptr;
    bool m_expired = false;
    std::stop_token m_stop;
    std::stop_callback<std::function<void()>> m_stopped; ///< Last member: the callback may run as soon as it exists.
};

thread_local Conversation* Conversation::s_current = nullptr;

/// Whether the service reports that it unlocked nothing.
bool isNothing(GVariant* opened)
{
    if (g_variant_is_of_type(opened, G_VARIANT_TYPE_OBJECT_PATH) != FALSE)
        return g_variant_get_string(opened, nullptr) == std::string_view("/");
    return g_variant_is_container(opened) != FALSE && g_variant_n_children(opened) == 0;
}

void answeredByUser(GObject* prompt, GAsyncResult* result, gpointer data)
{
    Conversation::userHasAnswered();
    const Handle<GTask> task(static_cast<GTask*>(data));
    GError* error = nullptr;
    Handle<GVariant> opened(secret_prompt_perform_finish(SECRET_PROMPT(prompt), result, &error));
    if (error)
        g_task_return_error(task.get(), error);
    else if (!opened || isNothing(opened.get()))
        g_task_return_new_error(task.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED, "refused");
    else
        g_task_return_pointer(
            task.get(), opened.release(), [](gpointer value) { g_variant_unref(static_cast<GVariant*>(value)); });
}

/// Replaces the library's prompt, whose task never ends when the user refuses.
void promptUser(SecretService* service, SecretPrompt* prompt, const GVariantType* type, GCancellable* cancellable,
    GAsyncReadyCallback callback, gpointer data)
{
    Conversation::userIsAsked();
    secret_prompt_perform(
        prompt, nullptr, type, cancellable, &answeredByUser, g_task_new(service, cancellable, callback, data));
}

GVariant* finishPrompt(SecretService*, GAsyncResult* result, GError** error)
{
    return static_cast<GVariant*>(g_task_propagate_pointer(G_TASK(result), error));
}

void initialiseClass(gpointer type, gpointer)
{
    auto* service = static_cast<SecretServiceClass*>(type);
    service->prompt_async = &promptUser;
    service->prompt_finish = &finishPrompt;
}

/// The library's client of the service, with our prompt.
GType serviceType()
{
    static const GType type = g_type_register_static_simple(secret_service_get_type(), "OrvoSecretService",
        sizeof(SecretServiceClass), &initialiseClass, sizeof(SecretService), nullptr, GTypeFlags(0));
    return type;
}

const SecretSchema& schema()
{
    static const SecretSchema one = [] {
        SecretSchema result{};
        result.name = "es.orvo.video";
        result.flags = SECRET_SCHEMA_NONE;
        result.attributes[0] = {.name = "account", .type = SECRET_SCHEMA_ATTRIBUTE_STRING};
        return result;
    }();
    return one;
}

/// The service, and one account's item in it.
class Client {
public:
    Client(std::string_view account, const std::stop_token& stop)
        : m_conversation(stop)
        , m_attributes(g_hash_table_new_full(g_str_hash, g_str_equal, nullptr, g_free))
    {
        g_hash_table_insert(m_attributes.get(), const_cast<char*>("account"), // NOLINT(*-const-cast): only read.
            g_strdup(std::string(account).c_str()));
        connect();
        m_service.reset(m_conversation.ask(
            [](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
                secret_service_open(serviceType(), nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable, done, data);
            },
            [](GAsyncResult* result, GError** error) { return secret_service_open_finish(result, error); }));
        search();
        // A locked keychain may hide its items.
        if (!m_item)
            m_collection.reset(m_conversation.ask(
                [&](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
                    secret_collection_for_alias(
                        m_service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, done, data);
                },
                [](GAsyncResult* result, GError** error) { return secret_collection_for_alias_finish(result, error); }));
    }

    bool hasItem() const { return m_item != nullptr; }
    bool isLocked() const
    {
        if (m_item)
            return secret_item_get_locked(m_item.get()) != FALSE;
        return m_collection && secret_collection_get_locked(m_collection.get()) != FALSE;
    }

    /// Asks the user for the keychain's password. Throws `Failure` when they refuse.
    void unlock()
    {
        GList items{.data = nullptr, .next = nullptr, .prev = nullptr};
        if (m_item)
            items.data = m_item.get();
        else
            items.data = m_collection.get();
        const int count = m_conversation.ask(
            [&](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
                secret_service_unlock(m_service.get(), &items, cancellable, done, data);
            },
            [&](GAsyncResult* result, GError** error) {
                return secret_service_unlock_finish(m_service.get(), result, nullptr, error);
            });
        if (count == 0)
            throw Failure{ofOperations + G_IO_ERROR_CANCELLED};
        if (!m_item)
            search();
    }

    std::string secret()
    {
        m_conversation.ask([&](GCancellable* cancellable, GAsyncReadyCallback done,
                               gpointer data) { secret_item_load_secret(m_item.get(), cancellable, done, data); },
            [&](GAsyncResult* result, GError** error) {
                return secret_item_load_secret_finish(m_item.get(), result, error);
            });
        const Handle<SecretValue> value(secret_item_get_secret(m_item.get()));
        gsize length = 0;
        const char* bytes = value ? secret_value_get(value.get(), &length) : nullptr;
        if (length == 0 || g_utf8_validate(bytes, static_cast<gssize>(length), nullptr) == FALSE)
            throw Failure{emptySecret};
        return {bytes, length};
    }

    void update(SecretValue* value)
    {
        m_conversation.ask([&](GCancellable* cancellable, GAsyncReadyCallback done,
                               gpointer data) { secret_item_set_secret(m_item.get(), value, cancellable, done, data); },
            [&](GAsyncResult* result, GError** error) {
                return secret_item_set_secret_finish(m_item.get(), result, error);
            });
    }

    void add(SecretValue* value)
    {
        const bool stored = m_conversation.ask(
            [&](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
                secret_service_store(m_service.get(), &schema(), m_attributes.get(), SECRET_COLLECTION_DEFAULT, itemLabel,
                    value, cancellable, done, data);
            },
            [&](GAsyncResult* result, GError** error) {
                return secret_service_store_finish(m_service.get(), result, error) != FALSE;
            });
        if (!stored)
            throw Failure{ofOperations + G_IO_ERROR_CANCELLED};
    }

private:
    void search()
    {
        const Handle<GList> found(m_conversation.ask(
            [&](GCancellable* cancellable, GAsyncReadyCallback done, gpointer data) {
                secret_service_search(
                    m_service.get(), &schema(), m_attributes.get(), SECRET_SEARCH_NONE, cancellable, done, data);
            },
            [&](GAsyncResult* result, GError** error) {
                return secret_service_search_finish(m_service.get(), result, error);
            }));
        if (found)
            m_item.reset(static_cast<SecretItem*>(g_object_ref(found->data)));
    }

    void connect()
    {
        try {
            const Handle<GDBusConnection> bus(
                m_conversation.ask([](GCancellable* cancellable, GAsyncReadyCallback done,
                                       gpointer data) { g_bus_get(G_BUS_TYPE_SESSION, cancellable, done, data); },
                    [](GAsyncResult* result, GError** error) { return g_bus_get_finish(result, error); }));
            // The program must survive the end of the bus.
            g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
        } catch (const Failure&) {
            throw Failure{noBus};
        }
    }

    Conversation m_conversation;
    Handle<GHashTable> m_attributes;
    Handle<SecretService> m_service;
    Handle<SecretItem> m_item;
    Handle<SecretCollection> m_collection; ///< The default collection, used when there is no item.
};

bool isBlank(std::string_view text)
{
    return std::ranges::all_of(text, [](unsigned char c) { return std::isspace(c) != 0; });
}

} // namespace

std::string load(std::string_view account, Interaction interaction, const std::stop_token& stop)
{
    try {
        Client client(account, stop);
        if (client.isLocked() && interaction == Interaction::forbidden)
            throw Failure{locked};
        if (client.isLocked())
            client.unlock();
        if (!client.hasItem())
            throw Failure{noSecret};
        return client.secret();
    } catch (const Failure& failure) {
        throw captureError(
            std::format("No se ha podido leer la credencial. Desbloquea el llavero Inicio de sesión y pulsa Leer del "
                        "llavero ({}).",
                failure.status));
    }
}

void save(std::string_view value, std::string_view key, const std::stop_token& stop)
{
    if (isBlank(value))
        throw captureError(
            "La credencial está vacía. Pulsa Leer del llavero antes de guardar; se conserva la credencial anterior.");
    try {
        const Handle<SecretValue> secret(secret_value_new(value.data(), static_cast<gssize>(value.size()), "text/plain"));
        Client client(key, stop);
        if (client.isLocked())
            throw Failure{locked};
        if (client.hasItem())
            client.update(secret.get());
        else
            client.add(secret.get());
    } catch (const Failure& failure) {
        throw captureError(std::format("El llavero no ha permitido guardar la credencial ({}).", failure.status));
    }
}

} // namespace orvo::Keychain
