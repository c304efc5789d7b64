#pragma once

#include <stop_token>
#include <string>

/// The proxy of the environment variables, else of the desktop's settings (GNOME, KDE or a configuration script).
/// Stateless.
namespace orvo::SystemProxy {

/// Returns the proxy for an address, in libcurl's notation: "http://host:port", "socks5h://host:port", or the
/// environment's value as it is. Returns empty for a direct connection. libcurl applies the exceptions in `no_proxy`.
///
/// Blocks; use worker threads. If the desktop does not answer within three seconds, uses no proxy. Throws `Cancelled`.
std::string of(const std::string& url, const std::stop_token& stop = {});

} // namespace orvo::SystemProxy
