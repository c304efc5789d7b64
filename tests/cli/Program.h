#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvo::test {

/// The built `orvo`.
std::filesystem::path orvoProgram();

/// The exit status and the output of a program.
struct Outcome {
    int status = -1; ///< Exit status, or 128 plus the number of the signal that ended it.
    std::string out;
    std::string err;
};

/// A child process whose output is read while it runs.
class Program {
public:
    struct Setup {
        std::filesystem::path executable = orvoProgram();
        std::filesystem::path library; ///< ORVO_LIBRARY; not set when empty.
        std::map<std::string, std::string> environment; ///< More variables.
        std::string input; ///< The content of standard input; must fit into a pipe.
        bool inputTerminal = false; ///< Whether standard input is a terminal.
        bool outputTerminal = false; ///< Whether standard output is a terminal, of 80 columns.
        bool errorTerminal = false; ///< Whether standard error is a terminal, of 80 columns.
        std::string outputFile; ///< Redirects standard output to this file.
        std::optional<uid_t> user; ///< Run as this user.
        std::optional<std::size_t> maxFile; ///< RLIMIT_FSIZE, with SIGXFSZ ignored.
    };

    Program(std::vector<std::string> arguments, const Setup& setup);
    ~Program(); ///< Kills the program unless `end` has returned.
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t pid() const noexcept { return m_pid; }

    /// Waits until the program has written `text` to standard error. Returns false when it ends first.
    bool waitForError(const std::string& text);

    /// The standard error read so far.
    const std::string& error() const noexcept { return m_outcome.err; }

    void signal(int number) const;

    /// Closes the reading end of standard output.
    void stopReading();

    /// Waits for the program to end.
    Outcome end();

private:
    bool readSome();

    pid_t m_pid = -1;
    int m_in = -1; ///< The test's end of the input terminal.
    int m_out = -1;
    int m_err = -1;
    Outcome m_outcome;
};

/// Runs a program to its end.
Outcome run(std::vector<std::string> arguments, const Program::Setup& setup);

} // namespace orvo::test
