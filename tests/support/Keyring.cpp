#include "TestSupport/Keyring.h"

#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

namespace orvo::test {

Keyring::Keyring(State state)
{
    ::setenv("XDG_DATA_HOME", (m_folder / "data").c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", m_folder.path().c_str(), 1);
    restart(state);
}

Keyring::~Keyring()
{
    m_service.reset();
    for (const auto* name : {"XDG_DATA_HOME", "XDG_RUNTIME_DIR"})
        ::unsetenv(name);
}

void Keyring::restart(State state)
{
    m_service.reset();
    if (state == State::absent)
        return;
    std::vector<std::string> words{"gnome-keyring-daemon", "--foreground", "--components=secrets"};
    if (state == State::unlocked)
        words.emplace_back("--unlock");
    m_service.emplace(std::move(words), std::map<std::string, std::string>{}, ChildProcess::Errors::hidden);
    constexpr char password = 'x';
    if (::write(m_service->input(), &password, 1) != 1)
        throw std::runtime_error("the keyring takes no password");
    m_service->closeInput();
    // The service prints its socket once it is on the bus.
    static_cast<void>(m_service->readLine());
}

void Keyring::freeze() const
{
    ::kill(m_service->pid(), SIGSTOP);
}

} // namespace orvo::test
