#pragma once

#include <filesystem>

/// What a program leaves behind when it crashes, and only then.
namespace orvo::CrashLog {

/// "cierre.txt" in "OrvoVideo" in the XDG state folder. It exists only after a crash.
std::filesystem::path file();

/// From now on a fatal signal (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT) replaces the log before it ends the program as it
/// would otherwise. `version` is written into it. Call once, on the main thread.
void install(const char* version);

} // namespace orvo::CrashLog
