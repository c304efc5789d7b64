#pragma once

#include "OrvoServer/http/Message.h"

#include <cstddef>
#include <string_view>
#include <variant>

namespace orvo::server {

/// Maximum bytes of request line and header fields, including the blank line.
inline constexpr std::size_t maxHeadBytes = 16384;

/// Rejects a head: the status of the response, after which the connection is closed.
struct BadHead {
    unsigned status = 400;
};

/// Parses the head of an HTTP/1 request, including its blank line.
///
/// Stricter than the standard, so that no proxy interprets a request differently: rejects folded fields, bare carriage
/// returns and line feeds, NUL, any Transfer-Encoding, multiple Content-Length or Host fields, and a missing Host in
/// HTTP/1.1.
std::variant<Request, BadHead> parseHead(std::string_view head);

} // namespace orvo::server
