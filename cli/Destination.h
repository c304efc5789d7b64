#pragma once

#include "VideoCore/ProjectStore.h"

#include <filesystem>
#include <optional>
#include <string>

namespace orvo::cli {

/// The absolute place of a file that a command is to write.
///
/// Throws `captureError` when it lies in a project of the library, and file system errors when it is a folder or its folder
/// is not there.
std::filesystem::path destination(const std::filesystem::path& file, const ProjectStore& store);

/// The answer of a person on the terminal to a question; nullopt where nobody is there to answer, as in a script.
std::optional<bool> agreed(const std::string& question);

/// Whether a file may take the place of the one that is there: asks a person on the terminal, unless `force`. Without a
/// terminal, as in a script, and where there is no such file, the answer is yes.
bool mayReplace(const std::filesystem::path& file, bool force);

} // namespace orvo::cli
