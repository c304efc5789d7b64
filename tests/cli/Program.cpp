#include "CliTestSupport/Program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX requires programs to declare it.

namespace orvo::test {

namespace {

struct Channel {
    int reading = -1;
    int writing = -1;
};

Channel makeChannel(bool terminal)
{
    std::array<int, 2> ends{};
    if (terminal) {
        winsize size{};
        size.ws_row = 25;
        size.ws_col = 80;
        if (::openpty(&ends[0], &ends[1], nullptr, nullptr, &size) != 0)
            throw std::runtime_error("openpty");
        ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
        ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    } else if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe2");
    }
    return {ends[0], ends[1]};
}

/// This process's environment without variables that change the program's behaviour, plus those of the setup.
std::vector<std::string> environmentFor(const Program::Setup& setup)
{
    std::map<std::string, std::string> variables;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        variables[text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
    }
    for (const char* name : {"ORVO_ADMIN_TOKEN", "ORVO_LIBRARY", "NO_COLOR", "XDG_DATA_HOME"})
        variables.erase(name);
    variables["TERM"] = "xterm";
    variables["TZ"] = "UTC";
    if (!setup.library.empty())
        variables["ORVO_LIBRARY"] = setup.library;
    for (const auto& [name, value] : setup.environment)
        variables[name] = value;
    std::vector<std::string> result;
    for (const auto& [name, value] : variables)
        result.push_back(name + "=" + value);
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (auto& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

void closeIfOpen(int& descriptor)
{
    if (descriptor >= 0)
        ::close(std::exchange(descriptor, -1));
}

} // namespace

std::filesystem::path orvoProgram()
{
    return ORVO_PROGRAM;
}

Program::Program(std::vector<std::string> arguments, const Setup& setup)
{
    const Channel out = makeChannel(setup.outputTerminal);
    const Channel err = makeChannel(setup.errorTerminal);
    Channel in = makeChannel(setup.inputTerminal);
    if (setup.inputTerminal)
        std::swap(in.reading, in.writing); // The program gets the terminal, the test its other end.
    if (::write(in.writing, setup.input.data(), setup.input.size()) != static_cast<ssize_t>(setup.input.size()))
        throw std::runtime_error("the input is too long");
    if (setup.inputTerminal)
        m_in = in.writing; // Closing it now would discard unread input.
    else
        ::close(in.writing);
    arguments.insert(arguments.begin(), setup.executable);
    auto environment = environmentFor(setup);
    const auto argumentPointers = pointersTo(arguments);
    const auto environmentPointers = pointersTo(environment);

    m_pid = ::fork();
    if (m_pid == 0) {
        const int file = setup.outputFile.empty() ? -1 : ::open(setup.outputFile.c_str(), O_WRONLY | O_CLOEXEC);
        ::dup2(in.reading, STDIN_FILENO);
        ::dup2(file >= 0 ? file : out.writing, STDOUT_FILENO);
        ::dup2(err.writing, STDERR_FILENO);
        if (setup.maxFile) {
            const rlimit limit{*setup.maxFile, *setup.maxFile};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            ::signal(SIGXFSZ, SIG_IGN);
        }
        if (setup.user && ::setuid(*setup.user) != 0)
            ::_exit(126);
        ::execve(argumentPointers[0], argumentPointers.data(), environmentPointers.data());
        ::_exit(127);
    }
    ::close(in.reading);
    ::close(out.writing);
    ::close(err.writing);
    m_out = out.reading;
    m_err = err.reading;
}

Program::~Program()
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    closeIfOpen(m_in);
    closeIfOpen(m_out);
    closeIfOpen(m_err);
}

bool Program::readSome()
{
    std::array<pollfd, 2> watched{{{.fd = m_out, .events = POLLIN}, {.fd = m_err, .events = POLLIN}}};
    if (m_out < 0 && m_err < 0)
        return false;
    while (::poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) { }
    const auto take = [](const pollfd& from, int& descriptor, std::string& text) {
        if (from.revents == 0)
            return;
        std::array<char, 4096> chunk{};
        const ssize_t got = ::read(from.fd, chunk.data(), chunk.size());
        if (got > 0)
            text.append(chunk.data(), static_cast<std::size_t>(got));
        else
            closeIfOpen(descriptor); // End of file, which a terminal reports as an error.
    };
    take(watched[0], m_out, m_outcome.out);
    take(watched[1], m_err, m_outcome.err);
    return true;
}

bool Program::waitForError(const std::string& text)
{
    while (!m_outcome.err.contains(text)) {
        if (!readSome())
            return false;
    }
    return true;
}

void Program::signal(int number) const
{
    ::kill(m_pid, number);
}

void Program::stopReading()
{
    closeIfOpen(m_out);
}

Outcome Program::end()
{
    while (readSome()) { }
    int status = 0;
    ::waitpid(std::exchange(m_pid, -1), &status, 0);
    m_outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return m_outcome;
}

Outcome run(std::vector<std::string> arguments, const Program::Setup& setup)
{
    return Program(std::move(arguments), setup).end();
}

} // namespace orvo::test
