#pragma once

#include <array>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace orvo::test {

/// A service as a child process. It lives as long as this object, and not longer than the test.
class ServiceProcess {
public:
    explicit ServiceProcess(const std::vector<std::string>& command)
    {
        std::vector<char*> words;
        for (const auto& word : command)
            words.push_back(
                const_cast<char*>(word.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast): execv asks so.
        words.push_back(nullptr);
        std::array<int, 2> output{};
        std::array<int, 2> input{};
        if (::pipe(output.data()) != 0 || ::pipe(input.data()) != 0)
            throw std::runtime_error("pipe");
        m_child = ::fork();
        if (m_child == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::dup2(input[0], STDIN_FILENO);
            ::dup2(output[1], STDOUT_FILENO);
            for (const int end : {output[0], output[1], input[0], input[1]})
                ::close(end);
            ::execvp(words[0], words.data());
            ::_exit(127);
        }
        ::close(output[1]);
        ::close(input[0]);
        m_output = ::fdopen(output[0], "r");
        m_input = input[1];
    }
    ~ServiceProcess()
    {
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
        std::fclose(m_output);
        ::close(m_input);
    }
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    bool hasEnded() const
    {
        siginfo_t info{};
        return ::waitid(P_PID, static_cast<id_t>(m_child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid != 0;
    }

    /// The next line that it prints; empty when it has ended.
    std::string line()
    {
        std::array<char, 256> buffer{};
        std::string text = std::fgets(buffer.data(), buffer.size(), m_output) ? buffer.data() : "";
        while (text.ends_with('\n'))
            text.pop_back();
        return text;
    }

private:
    pid_t m_child = -1;
    std::FILE* m_output = nullptr;
    int m_input = -1;
};

} // namespace orvo::test
