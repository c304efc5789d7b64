#pragma once

#include <filesystem>

/// The log that a program writes when it crashes, and only then.
namespace orvo::CrashLog {

/// "cierre.txt" in "OrvoVideo" in the XDG state folder. It exists only after a crash.
std::filesystem::path file();

/// Installs a handler that replaces the log on a fatal signal (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT); the signal then
/// ends the program as usual. The log names `version`. Call once, on the main thread.
void install(const char* version);

} // namespace orvo::CrashLog
