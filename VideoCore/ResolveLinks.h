#pragma once

#include <filesystem>

namespace orvo {

/// Where an absolute path leads when every link on it is followed, also a link to something that does not exist yet: there
/// a file would be made. What does not exist is taken as it stands.
///
/// Throws `std::filesystem::filesystem_error` for links that form a loop and for names that cannot be looked up.
std::filesystem::path resolveLinks(const std::filesystem::path& path);

} // namespace orvo
