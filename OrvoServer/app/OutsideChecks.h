#pragma once

#include "OrvoServer/admin/Health.h"

#include <string>
#include <vector>

namespace orvo::server {

/// Sends requests to the public address, as the application does. Checks that this server answers, that its certificate is
/// trusted, and that proxies pass chunks of 8 MiB. Blocks; does not throw.
std::vector<HealthCheck> outsideChecks(const std::string& address, const std::string& instance);

} // namespace orvo::server
