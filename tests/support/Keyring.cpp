#include "TestSupport/Keyring.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program.

namespace orvo::test {

namespace {

/// Both ends of a pipe that no child inherits by itself.
std::array<int, 2> makePipe()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    return ends;
}

pid_t startProgram(std::vector<std::string> words, int input, int output)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (input >= 0)
        posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> pointers;
    for (auto& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    pid_t pid = -1;
    const int failure = ::posix_spawnp(&pid, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        throw std::runtime_error("cannot start " + words[0]);
    return pid;
}

std::string readLine(int descriptor)
{
    std::string line;
    for (char c = 0; ::read(descriptor, &c, 1) == 1 && c != '\n';)
        line += c;
    return line;
}

void end(pid_t& pid)
{
    if (const pid_t one = std::exchange(pid, -1); one > 0) {
        ::kill(one, SIGKILL);
        ::waitpid(one, nullptr, 0);
    }
}

} // namespace

Keyring::Keyring(State state)
{
    ::setenv("XDG_DATA_HOME", (m_folder / "data").c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", m_folder.path().c_str(), 1);
    startBus();
    startService(state);
}

Keyring::~Keyring()
{
    endService();
    end(m_bus);
    for (const auto* name : {"DBUS_SESSION_BUS_ADDRESS", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"})
        ::unsetenv(name);
}

void Keyring::startBus()
{
    // No service is started because somebody asks for it.
    const auto configuration = m_folder / "bus.conf";
    std::ofstream(configuration) << "<busconfig><type>session</type><listen>unix:tmpdir=" << m_folder.path().string()
                                 << R"(</listen><policy context="default"><allow send_destination="*" eavesdrop="true"/>)"
                                 << R"(<allow eavesdrop="true"/><allow own="*"/></policy></busconfig>)";
    const auto output = makePipe();
    m_bus = startProgram(
        {"dbus-daemon", "--config-file=" + configuration.string(), "--nofork", "--print-address"}, -1, output[1]);
    ::close(output[1]);
    const std::string address = readLine(output[0]);
    ::close(output[0]);
    if (address.empty())
        throw std::runtime_error("there is no bus");
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
}

void Keyring::startService(State state)
{
    if (state == State::absent)
        return;
    const auto input = makePipe();
    const auto output = makePipe();
    std::vector<std::string> words{"gnome-keyring-daemon", "--foreground", "--components=secrets"};
    if (state == State::unlocked)
        words.emplace_back("--unlock");
    m_service = startProgram(words, input[0], output[1]);
    ::close(input[0]);
    ::close(output[1]);
    constexpr char password = 'x';
    if (::write(input[1], &password, 1) != 1)
        throw std::runtime_error("the keyring takes no password");
    ::close(input[1]);
    // It says where its socket is when it is on the bus.
    static_cast<void>(readLine(output[0]));
    ::close(output[0]);
}

void Keyring::endService()
{
    end(m_service);
}

void Keyring::restart(State state)
{
    endService();
    startService(state);
}

void Keyring::freeze() const
{
    ::kill(m_service, SIGSTOP);
}

} // namespace orvo::test
