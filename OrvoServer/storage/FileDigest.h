#pragma once

#include "OrvoServer/storage/Transfer.h"

namespace orvo::server {

/// The SHA-256 of a part of a file, as 64 lower-case hexadecimal digits. Throws file system errors, also if the file is too
/// short, and `Cancelled`.
std::string digestOf(const FilePart& part, const std::stop_token& stop);

} // namespace orvo::server
