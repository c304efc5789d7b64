#pragma once

#include <csignal>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvo::test {

/// A program with pipes on its standard input and output, which no other child inherits. It ends with this object.
class ChildProcess {
public:
    enum class Errors : bool { shown, hidden };

    /// Starts `words`, found on the path, with these variables beside the process's own. Throws `std::runtime_error`.
    explicit ChildProcess(std::vector<std::string> words, const std::map<std::string, std::string>& environment = {},
        Errors errors = Errors::shown);
    ~ChildProcess() { end(SIGKILL); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const noexcept { return m_pid; }
    int input() const noexcept { return m_input; }
    int output() const noexcept { return m_output; }

    bool hasEnded() const;

    /// The next line of its output, without its end; empty at the end of the output.
    std::string readLine() const;
    void closeInput();

    /// Closes its input, waits, and returns the exit status, or −1 after a signal.
    int wait();
    /// Signals it and waits.
    void end(int signal);

private:
    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
};

/// The words that start a program which the kernel kills when this process ends.
std::vector<std::string> boundToThisProcess(std::vector<std::string> words);

} // namespace orvo::test
