#pragma once

#include <csignal>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvo::test {

/// A program with pipes on its standard input and output, which other children do not inherit. Killed on destruction.
class ChildProcess {
public:
    enum class Errors : bool { shown, hidden };

    /// Starts `words`; searches PATH. `environment` is added to this process's environment. Throws `std::runtime_error` if
    /// the program does not start.
    explicit ChildProcess(std::vector<std::string> words, const std::map<std::string, std::string>& environment = {},
        Errors errors = Errors::shown);
    ~ChildProcess() { end(SIGKILL); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const noexcept { return m_pid; }
    int input() const noexcept { return m_input; }
    int output() const noexcept { return m_output; }

    bool hasEnded() const;

    /// The next line of its output, without the line break; empty at the end of the output.
    std::string readLine() const;
    void closeInput();

    /// Closes its input and waits. Returns the exit status, or −1 if a signal ended it.
    int wait();
    /// Sends a signal and waits.
    void end(int signal);

private:
    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
};

/// A command line that makes the kernel kill the program when this process ends.
std::vector<std::string> boundToThisProcess(std::vector<std::string> words);

} // namespace orvo::test
