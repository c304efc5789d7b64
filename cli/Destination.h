#pragma once

#include "VideoCore/ProjectStore.h"

#include <filesystem>
#include <optional>
#include <string>

namespace orvo::cli {

/// The absolute path of a file that a command writes.
///
/// Throws `captureError` if it is inside a project of the library, and file system errors if it is a folder or its
/// folder does not exist.
std::filesystem::path destination(const std::filesystem::path& file, const ProjectStore& store);

/// Asks a question on the terminal; nullopt if there is no terminal, as in a script.
std::optional<bool> agreed(const std::string& question);

/// Whether a file may replace an existing one: asks on the terminal unless `force`. Returns true without a terminal, as
/// in a script, and if there is no such file.
bool mayReplace(const std::filesystem::path& file, bool force);

} // namespace orvo::cli
