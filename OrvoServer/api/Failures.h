#pragma once

#include "OrvoServer/http/Message.h"

#include <exception>

namespace orvo::server {

/// The response to a failure: a status and a Spanish sentence for the author.
Response failureResponse(const std::exception& error);

/// Whether the response is a 5xx, which the log reports as an error.
bool isInternal(const std::exception& error);

} // namespace orvo::server
