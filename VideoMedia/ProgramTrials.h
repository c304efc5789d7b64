#pragma once

#include "VideoMedia/Arguments.h"

#include <filesystem>
#include <stop_token>
#include <utility>

/// Tests by trial runs what an installed program supports.
namespace orvo::ProgramTrials {

/// Identifies an installed program; replacing its file gives another identity.
using Program = std::pair<std::filesystem::path, std::filesystem::file_time_type>;

/// Throws file system errors unchanged.
Program identityOf(const std::filesystem::path& program);

/// Whether a program exits with status 0 for these arguments. The result is kept until the file of the program changes.
///
/// Usable from any thread; blocks for the length of a trial. Throws as `ProcessRunner::succeeds`, and file system
/// errors unchanged.
bool succeeds(const std::filesystem::path& program, const Arguments& trial, const std::stop_token& stop = {});

/// Records that the program fails for these arguments, whatever its trial returned.
void setFailed(const std::filesystem::path& program, const Arguments& trial);

} // namespace orvo::ProgramTrials
