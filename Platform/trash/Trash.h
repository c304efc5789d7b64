#pragma once

#include <filesystem>

namespace orvo {

/// Moves a file or a folder to the desktop's trash. Blocks; any thread.
///
/// Throws `captureError` with a text for the user, for example on a file system without a trash; then nothing has moved.
void moveToTrash(const std::filesystem::path& file);

/// Restores the file or folder that was last moved to the trash from this path. Blocks; any thread.
///
/// Throws `captureError` with a text for the user when it is no longer in the trash or when the path is taken, and file
/// system errors unchanged; then nothing has moved.
void restoreFromTrash(const std::filesystem::path& file);

} // namespace orvo
