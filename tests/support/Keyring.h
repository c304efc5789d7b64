#pragma once

#include "TestSupport/SessionBus.h"

#include <cstdint>

namespace orvo::test {

/// A private session bus with a real keyring, whose files are in a temporary folder. Used by this process and its children.
class Keyring {
public:
    enum class State : std::uint8_t { unlocked, locked, absent };

    explicit Keyring(State state = State::unlocked);
    ~Keyring();
    Keyring(const Keyring&) = delete;
    Keyring& operator=(const Keyring&) = delete;

    /// Restarts the keyring's service in another state.
    void restart(State state);
    /// Stops the service from answering.
    void freeze() const;

private:
    SessionBus m_bus;
    TemporaryFolder m_folder;
    std::optional<ChildProcess> m_service;
};

} // namespace orvo::test
