#include "Platform/proxy/SystemProxy.h"
#include "VideoCore/Error.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <gio/gio.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>

namespace orvo::SystemProxy {

namespace {

constexpr std::string_view directly = "direct://";
constexpr auto limit = std::chrono::seconds(3); ///< For the desktop's answer.

/// The proxy in the environment, chosen as libcurl does; empty for none. Like libcurl, ignores HTTP_PROXY, which in a CGI
/// program comes from a request header.
std::string ofEnvironment(const std::string& url)
{
    const bool isPlain = url.starts_with("http:");
    for (const auto* name :
        {isPlain ? "http_proxy" : "https_proxy", isPlain ? "http_proxy" : "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
        if (const char* value = std::getenv(name); value && *value)
            return value;
    }
    return {};
}

/// A desktop's SOCKS 5 proxy resolves host names itself; libcurl has another scheme for that.
std::string forLibcurl(std::string proxy)
{
    constexpr std::string_view socks = "socks5://";
    if (proxy.starts_with(socks))
        proxy.replace(0, socks.size(), "socks5h://");
    return proxy;
}

/// The first proxy that the desktop returns; empty for none.
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

std::string of(const std::string& url, const std::stop_token& stop)
{
    if (std::string proxy = ofEnvironment(url); !proxy.empty())
        return proxy;
    // The look-up may load a script from the network and cannot be interrupted, so a detached thread does it.
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
    return forLibcurl(answer->proxy.value_or(std::string()));
}

} // namespace orvo::SystemProxy
