#pragma once

#include <filesystem>

namespace orvo {

/// The target of an absolute path with all links followed, including links to something that does not exist yet.
/// Components that do not exist are kept as they are.
///
/// Throws `std::filesystem::filesystem_error` for link loops and for names that cannot be looked up.
std::filesystem::path resolveLinks(const std::filesystem::path& path);

} // namespace orvo
