#include "VideoCore/CrashLog.h"

#include <array>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <span>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace orvo::CrashLog {

namespace fs = std::filesystem;

namespace {

constexpr std::array fatal{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr std::size_t stackBytes = std::size_t{64} * 1024;

// Prepared in advance: a signal handler must not allocate.
std::array<char, PATH_MAX> s_folder{};
std::array<char, PATH_MAX> s_file{};
std::array<char, 128> s_heading{};
std::array<char, stackBytes> s_stack{}; ///< For the handler: after an overflow the normal stack is full.

void print(int descriptor, const char* text)
{
    std::size_t length = std::strlen(text);
    while (length > 0) {
        const ssize_t written = ::write(descriptor, text, length);
        if (written <= 0)
            return;
        text += written;
        length -= static_cast<std::size_t>(written);
    }
}

/// The signal handler. Calls only functions that POSIX allows there, and `backtrace`, whose library is already loaded.
void write(int signal)
{
    ::mkdir(s_folder.data(), 0700);
    const int descriptor = ::open(s_file.data(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor >= 0) {
        print(descriptor, s_heading.data());
        print(descriptor, sigabbrev_np(signal));
        print(descriptor, "\n\n");
        std::array<void*, 64> frames{};
        ::backtrace_symbols_fd(frames.data(), ::backtrace(frames.data(), frames.size()), descriptor);
        ::close(descriptor);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

fs::path stateFolder()
{
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state && *state == '/')
        return fs::path(state) / "OrvoVideo";
    const char* home = std::getenv("HOME");
    return fs::path(home ? home : "/") / ".local/state/OrvoVideo";
}

void copy(const std::string& text, std::span<char> target)
{
    text.copy(target.data(), target.size() - 1);
}

} // namespace

fs::path file()
{
    return stateFolder() / "cierre.txt";
}

void install(const char* version)
{
    std::error_code ignored;
    fs::create_directories(stateFolder().parent_path(), ignored);
    copy(stateFolder().string(), s_folder);
    copy(file().string(), s_file);
    copy(std::string("Orvo Video ") + version + "\nSIG", s_heading);
    std::array<void*, 1> loaded{};
    ::backtrace(loaded.data(), loaded.size()); // Loads the library now, because a handler must not.
    const stack_t stack{.ss_sp = s_stack.data(), .ss_flags = 0, .ss_size = s_stack.size()};
    ::sigaltstack(&stack, nullptr);
    struct sigaction action{};
    action.sa_handler = write;
    action.sa_flags = SA_ONSTACK | static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (const int signal : fatal)
        ::sigaction(signal, &action, nullptr);
}

} // namespace orvo::CrashLog
