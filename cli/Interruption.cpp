#include "cli/Interruption.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace orvo::cli {

namespace {

sigset_t endingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    struct sigaction hangUp{};
    if (::sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler != SIG_IGN)
        sigaddset(&signals, SIGHUP);
    return signals;
}

} // namespace

Interruption::Interruption()
{
    const sigset_t signals = endingSignals();
    m_signals.reset(::signalfd(-1, &signals, SFD_CLOEXEC));
    m_end.reset(::eventfd(0, EFD_CLOEXEC));
    if (!m_signals || !m_end)
        throw std::system_error(errno, std::system_category());
    ::pthread_sigmask(SIG_BLOCK, &signals, &m_before);
    m_watch = std::thread([this] { watch(); });
}

Interruption::~Interruption()
{
    const std::uint64_t one = 1;
    while (::write(m_end.get(), &one, sizeof one) < 0 && errno == EINTR) { }
    m_watch.join();
    ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

void Interruption::watch()
{
    std::array<pollfd, 2> watched{{{.fd = m_signals.get(), .events = POLLIN}, {.fd = m_end.get(), .events = POLLIN}}};
    for (;;) {
        if (::poll(watched.data(), watched.size(), -1) < 0)
            continue;
        if (watched[0].revents != 0) {
            signalfd_siginfo signal{};
            if (::read(m_signals.get(), &signal, sizeof signal) == sizeof signal)
                m_stop.request_stop();
        }
        if (watched[1].revents != 0)
            return;
    }
}

SignalsHeld::SignalsHeld()
{
    const sigset_t signals = endingSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, &m_before);
}

SignalsHeld::~SignalsHeld()
{
    ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace orvo::cli
