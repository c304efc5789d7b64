#pragma once

#include "OrvoServer/store/Catalogue.h"

#include <string_view>
#include <vector>

namespace orvo::server {

/// Parses the announcement of a revision: {"files": [{"path", "role", "size", "sha256"}…]}.
///
/// Throws `Error` that names the first invalid file: an unsafe or duplicate path, a role that does not fit the path, an
/// invalid size or digest. Also throws for more than 50,000 files.
std::vector<AnnouncedFile> readRevision(std::string_view body);

/// Whether a path stays in its folder: relative, without empty, "." and ".." parts, backslashes and NUL; at most 1,024
/// bytes.
bool isSafePath(std::string_view path);

} // namespace orvo::server
