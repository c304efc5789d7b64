#pragma once

#include "OrvoServer/admin/Health.h"

#include <string>
#include <vector>

namespace orvo::server {

/// Asks the server through its public address, as the application does: whether it is this one that answers, whether the
/// certificate is trusted, and whether a proxy lets chunks of eight megabytes pass. Blocks; does not throw.
std::vector<HealthCheck> outsideChecks(const std::string& address, const std::string& instance);

} // namespace orvo::server
