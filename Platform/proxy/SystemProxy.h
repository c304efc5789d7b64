#pragma once

#include <stop_token>
#include <string>

/// The proxies of the environment, else those that the desktop's settings name: GNOME's, KDE's, or those of a configuration
/// script. Stateless.
namespace orvo::SystemProxy {

/// Returns the proxy for an address, in libcurl's notation: "http://host:port", "socks5h://host:port", or whatever the
/// environment holds. Empty for a direct connection. Exceptions in `no_proxy` are left to libcurl.
///
/// Blocking call for worker threads. A desktop that does not answer within three seconds counts as one without a proxy.
/// Throws `Cancelled`.
std::string of(const std::string& url, const std::stop_token& stop = {});

} // namespace orvo::SystemProxy
