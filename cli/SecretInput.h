#pragma once

#include <string>

namespace orvo::cli {

/// Reads a secret without its final line break: asks for `name` on a terminal without echo, else reads standard input.
/// Throws `captureError` if it cannot be read or is too long, and `Cancelled` after a signal on a terminal, which is
/// restored.
std::string readSecret(const std::string& name);

} // namespace orvo::cli
