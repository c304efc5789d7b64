#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>

/// Runs two programs in parallel, where the second reads what the first writes.
namespace orvo::PipedRuns {

/// Runs a program to its end. Throws its failure, and `Cancelled` if a stop was requested.
using Run = std::function<void(const std::stop_token&)>;

/// Creates the named pipe `pipe` and calls `write` on a new thread and `read` on this one; their programs open the pipe
/// by its path. Removes the pipe when both have ended.
///
/// If the writer fails, the reader is stopped before it could mistake the end of the data for success. If the reader
/// ends for any reason, the writer is stopped. Throws the first failure, file system errors of the pipe unchanged, and
/// `Cancelled` if `stop` was requested.
void run(const std::filesystem::path& pipe, const Run& write, const Run& read, const std::stop_token& stop = {});

} // namespace orvo::PipedRuns
