#pragma once

#include "OrvoServer/store/Catalogue.h"

#include <string_view>
#include <vector>

namespace orvo::server {

/// Reads what a client announces of a revision: {"files": [{"path", "role", "size", "sha256"}…]}.
///
/// Throws `Error` that names the first file that cannot be taken: a path that could leave a folder or is there twice, a role
/// that does not fit, no size, no digest; and for more than 50,000 files.
std::vector<AnnouncedFile> readRevision(std::string_view body);

/// Whether a path stays in its folder: relative, without empty, "." and ".." parts, backslashes and NUL.
bool isSafePath(std::string_view path);

} // namespace orvo::server
