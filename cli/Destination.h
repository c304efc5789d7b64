#pragma once

#include "VideoCore/ProjectStore.h"

#include <filesystem>

namespace orvo::cli {

/// The absolute place of a file that a command is to write.
///
/// Throws `captureError` when it lies in a project of the library, and file system errors when it is a folder or its folder
/// is not there.
std::filesystem::path destination(const std::filesystem::path& file, const ProjectStore& store);

} // namespace orvo::cli
