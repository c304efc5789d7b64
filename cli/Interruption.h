#pragma once

#include "VideoCore/UniqueFd.h"

#include <csignal>
#include <stop_token>
#include <thread>

namespace orvo::cli {

/// During its lifetime, SIGINT, SIGTERM and SIGHUP (unless ignored) do not end the program but request a stop, so that
/// the work can clean up.
///
/// Create it on the main thread before any other thread starts: threads inherit the signal mask.
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    std::stop_token token() const noexcept { return m_stop.get_token(); }
    bool requested() const noexcept { return m_stop.stop_requested(); }

private:
    void watch();

    std::stop_source m_stop;
    sigset_t m_before{}; ///< The signals that were blocked.
    UniqueFd m_signals; ///< Readable when a signal has arrived.
    UniqueFd m_end; ///< Readable when the thread must end.
    std::thread m_watch;
};

/// Blocks the terminating signals during its lifetime, while a project is saved.
class SignalsHeld {
public:
    SignalsHeld();
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t m_before{};
};

} // namespace orvo::cli
