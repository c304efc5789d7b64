#pragma once

#include <filesystem>

namespace orvo::server {

/// Makes `target` a hard link to `file`, or a flushed copy on another file system; keeps an existing `target`.
///
/// `target` is never an incomplete copy. Throws `std::filesystem::filesystem_error`.
void linkOrCopy(const std::filesystem::path& file, const std::filesystem::path& target);

} // namespace orvo::server
