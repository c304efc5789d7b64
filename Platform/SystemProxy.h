#pragma once

#include <chrono>
#include <stop_token>
#include <string>

/// The proxies that the desktop's settings name: GNOME's, KDE's, or those of a configuration script. Stateless.
namespace orvo::SystemProxy {

/// The proxy by which an address is to be reached, such as "http://host:port" or "socks5://host:port"; empty for none.
///
/// Blocking call for worker threads. A desktop that has not said anything after `limit` is taken for one that names none.
/// Throws `Cancelled`.
std::string of(const std::string& url, std::chrono::milliseconds limit, const std::stop_token& stop = {});

} // namespace orvo::SystemProxy
