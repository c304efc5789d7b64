#pragma once

#include <string>

namespace orvo::cli {

/// A secret, without the line break at its end: asked for by `name` on a terminal, where it is not shown, else everything on
/// standard input. Throws `captureError` when it cannot be read or is longer than any secret, and
/// `Cancelled` when a signal comes first on a terminal, which is left as it was.
std::string readSecret(const std::string& name);

} // namespace orvo::cli
