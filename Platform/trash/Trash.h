#pragma once

#include <filesystem>

namespace orvo {

/// Moves a file or a folder to the desktop's trash, from where a person can put it back. Blocks; any thread.
///
/// Throws `captureError` with a text for the user; nothing has moved then. Some file systems have no trash.
void moveToTrash(const std::filesystem::path& file);

} // namespace orvo
