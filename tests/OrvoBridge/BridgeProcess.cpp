#include "BridgeProcess.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <format>
#include <fstream>
#include <openssl/evp.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

extern char** environ;

namespace orvo::test {

BridgeProcess::BridgeProcess(const std::filesystem::path& library)
{
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);

    std::vector<std::string> variables{"ORVO_LIBRARY=" + library.string()};
    for (char** variable = environ; *variable; ++variable) {
        if (!std::string_view(*variable).starts_with("ORVO_LIBRARY="))
            variables.emplace_back(*variable);
    }
    std::vector<char*> environment;
    for (auto& variable : variables)
        environment.push_back(variable.data());
    environment.push_back(nullptr);
    // As browsers start it: with the extension's origin.
    std::string program = ORVO_BRIDGE;
    std::string origin = "chrome-extension://abcdefghijklmnopabcdefghijklmnop/";
    std::array<char*, 3> arguments{program.data(), origin.data(), nullptr};
    const int status = ::posix_spawn(&m_process, program.c_str(), &actions, nullptr, arguments.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    m_input = input[1];
    m_output = output[0];
    if (status != 0)
        throw std::runtime_error("cannot start " + program);
    std::signal(SIGPIPE, SIG_IGN);
}

BridgeProcess::~BridgeProcess()
{
    if (m_process > 0)
        kill(SIGKILL);
    ::close(m_output);
    if (m_input >= 0)
        ::close(m_input);
}

void BridgeProcess::send(std::string_view message)
{
    const auto length = static_cast<std::uint32_t>(message.size());
    std::string bytes(sizeof length, '\0');
    std::memcpy(bytes.data(), &length, sizeof length);
    sendBytes(bytes.append(message));
}

void BridgeProcess::sendBytes(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_input, bytes.data(), bytes.size());
        if (written <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

std::optional<std::string> BridgeProcess::answer()
{
    const auto read = [this](char* to, std::size_t count) {
        while (count > 0) {
            const ssize_t got = ::read(m_output, to, count);
            if (got <= 0)
                return false;
            to += got;
            count -= static_cast<std::size_t>(got);
        }
        return true;
    };
    std::uint32_t length = 0;
    if (!read(reinterpret_cast<char*>(&length), sizeof length))
        return std::nullopt;
    std::string text(length, '\0');
    if (!read(text.data(), text.size()))
        return std::nullopt;
    return text;
}

int BridgeProcess::hangUp()
{
    ::close(std::exchange(m_input, -1));
    int status = 0;
    ::waitpid(std::exchange(m_process, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void BridgeProcess::kill(int signal)
{
    ::kill(m_process, signal);
    int status = 0;
    ::waitpid(std::exchange(m_process, -1), &status, 0);
}

std::size_t BridgeProcess::peakMemory() const
{
    std::ifstream status(std::format("/proc/{}/status", m_process));
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:"))
            return std::stoull(line.substr(6)) * 1024;
    }
    return 0;
}

std::string chunkMessage(std::string_view track, int sequence, std::string_view data)
{
    std::string base64(4 * ((data.size() + 2) / 3) + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(base64.data()), reinterpret_cast<const unsigned char*>(data.data()),
        static_cast<int>(data.size()));
    base64.pop_back();
    return std::format(R"({{"type":"chunk","track":"{}","sequence":{},"data":"{}"}})", track, sequence, base64);
}

} // namespace orvo::test
