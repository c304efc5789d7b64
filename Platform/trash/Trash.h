#pragma once

#include <filesystem>

namespace orvo {

/// Moves a file or a folder to the desktop's trash, from where a person can put it back. Blocks; any thread.
///
/// Throws `captureError` with a text for the user; nothing has moved then. Some file systems have no trash.
void moveToTrash(const std::filesystem::path& file);

/// Puts back what was last moved to the trash from this path. Blocks; any thread.
///
/// Throws `captureError` with a text for the user when the trash does not have it any more or when something else lies there
/// now, and file system errors unchanged; nothing has moved then.
void restoreFromTrash(const std::filesystem::path& file);

} // namespace orvo
