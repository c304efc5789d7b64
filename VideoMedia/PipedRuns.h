#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>

/// Two programs that run side by side, the second of which reads what the first one writes.
namespace orvo::PipedRuns {

/// Blocks until its program has ended. Throws whatever it fails with, and `Cancelled` when the token says so.
using Run = std::function<void(const std::stop_token&)>;

/// Makes the named pipe `pipe` and calls `write` on a thread of its own and `read` on this one; their programs open the pipe
/// by its name. The pipe is removed when both have ended.
///
/// When the writer fails, the reader is stopped, and its end of data is never taken for the whole. When the reader ends, in
/// whatever way, the writer is stopped. Throws the failure that came first, file system errors of the pipe unchanged, and
/// `Cancelled` when `stop` was requested.
void run(const std::filesystem::path& pipe, const Run& write, const Run& read, const std::stop_token& stop = {});

} // namespace orvo::PipedRuns
