#pragma once

#include "VideoMedia/Arguments.h"

#include <filesystem>
#include <stop_token>
#include <utility>

/// What an installed program can do, found out by trying.
namespace orvo::ProgramTrials {

/// A program as it is now: one that is replaced is another.
using Program = std::pair<std::filesystem::path, std::filesystem::file_time_type>;

/// Throws file system errors unchanged.
Program identityOf(const std::filesystem::path& program);

/// Whether a program ends with status 0 for these arguments. The outcome is kept until the program's file changes.
///
/// Usable from any thread; blocks for as long as a trial takes. Throws as `ProcessRunner::succeeds`, and file system errors
/// unchanged.
bool succeeds(const std::filesystem::path& program, const Arguments& trial, const std::stop_token& stop = {});

/// Keeps that the program fails for these arguments, whatever the trial said.
void setFailed(const std::filesystem::path& program, const Arguments& trial);

} // namespace orvo::ProgramTrials
