#include "TestSupport/ChildProcess.h"

#include <array>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program.

namespace orvo::test {

namespace {

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers(texts.size() + 1, nullptr);
    for (std::size_t i = 0; i < texts.size(); ++i)
        pointers[i] = texts[i].data();
    return pointers;
}

} // namespace

ChildProcess::ChildProcess(
    std::vector<std::string> words, const std::map<std::string, std::string>& environment, Errors errors)
{
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    if (errors == Errors::hidden)
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment)
        variables.emplace_back(name).append("=").append(value);
    for (char** variable = environ; *variable; ++variable) {
        const std::string text = *variable;
        if (!environment.contains(text.substr(0, text.find('='))))
            variables.push_back(text);
    }
    const int failure =
        ::posix_spawnp(&m_pid, words[0].c_str(), &actions, nullptr, pointersTo(words).data(), pointersTo(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    m_input = input[1];
    m_output = output[0];
    if (failure != 0)
        throw std::runtime_error("cannot start " + words[0]);
}

std::vector<std::string> boundToThisProcess(std::vector<std::string> words)
{
    words.insert(words.begin(), {"setpriv", "--pdeathsig=KILL"});
    return words;
}

bool ChildProcess::hasEnded() const
{
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid != 0;
}

std::string ChildProcess::readLine() const
{
    std::string line;
    for (char c = 0; ::read(m_output, &c, 1) == 1 && c != '\n';)
        line += c;
    return line;
}

void ChildProcess::closeInput()
{
    if (const int input = std::exchange(m_input, -1); input >= 0)
        ::close(input);
}

int ChildProcess::wait()
{
    closeInput();
    int status = -1;
    if (const pid_t pid = std::exchange(m_pid, -1); pid > 0)
        ::waitpid(pid, &status, 0);
    if (const int output = std::exchange(m_output, -1); output >= 0)
        ::close(output);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ChildProcess::end(int signal)
{
    if (m_pid > 0)
        ::kill(m_pid, signal);
    wait();
}

} // namespace orvo::test
