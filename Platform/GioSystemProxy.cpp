#include "Platform/SystemProxy.h"
#include "VideoCore/Error.h"

#include <condition_variable>
#include <gio/gio.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>

namespace orvo::SystemProxy {

namespace {

constexpr std::string_view directly = "direct://";

/// The first of the ways that the desktop names.
std::string lookUp(const std::string& url)
{
    GError* error = nullptr;
    gchar** ways = g_proxy_resolver_lookup(g_proxy_resolver_get_default(), url.c_str(), nullptr, &error);
    std::string first;
    if (ways && ways[0] && ways[0] != directly)
        first = ways[0];
    g_strfreev(ways);
    g_clear_error(&error);
    return first;
}

struct Answer {
    std::mutex mutex;
    std::condition_variable_any given;
    std::optional<std::string> proxy;
};

} // namespace

std::string of(const std::string& url, std::chrono::milliseconds limit, const std::stop_token& stop)
{
    // Asking may load a script from the network, and cannot be interrupted: nobody waits for a thread that stays in it.
    const auto answer = std::make_shared<Answer>();
    std::thread([answer, url] {
        std::string proxy = lookUp(url);
        const std::scoped_lock lock(answer->mutex);
        answer->proxy = std::move(proxy);
        answer->given.notify_one();
    }).detach();
    std::unique_lock lock(answer->mutex);
    answer->given.wait_for(lock, stop, limit, [&] { return answer->proxy.has_value(); });
    if (stop.stop_requested())
        throw Cancelled();
    return answer->proxy.value_or(std::string());
}

} // namespace orvo::SystemProxy
