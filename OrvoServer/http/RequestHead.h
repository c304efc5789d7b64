#pragma once

#include "OrvoServer/http/Message.h"

#include <cstddef>
#include <string_view>
#include <variant>

namespace orvo::server {

/// At most this many bytes of request line and header fields, with the blank line.
inline constexpr std::size_t maxHeadBytes = 16384;

/// Why a head is refused: the status of the response, after which the connection is closed.
struct BadHead {
    unsigned status = 400;
};

/// Reads the head of an HTTP/1 request, up to and with its blank line.
///
/// Stricter than the standard allows, so that no proxy can understand a request differently: refuses folded fields, bare
/// carriage returns and line feeds, NUL, any Transfer-Encoding, more than one Content-Length or Host, and a missing Host in
/// HTTP/1.1.
std::variant<Request, BadHead> parseHead(std::string_view head);

} // namespace orvo::server
