#pragma once

#include "OrvoServer/http/Message.h"

#include <exception>

namespace orvo::server {

/// The answer to a failure, for author and application: a status and a Spanish sentence.
Response failureResponse(const std::exception& error);

/// Whether the failure is the server's own, for the log.
bool isInternal(const std::exception& error);

} // namespace orvo::server
