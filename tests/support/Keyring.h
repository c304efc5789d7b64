#pragma once

#include "TestSupport/SessionBus.h"

#include <cstdint>

namespace orvo::test {

/// A session bus of its own with a real keyring on it, whose files lie in a folder of its own. This process and those that
/// it starts take them for theirs.
class Keyring {
public:
    enum class State : std::uint8_t { unlocked, locked, absent };

    explicit Keyring(State state = State::unlocked);
    ~Keyring();
    Keyring(const Keyring&) = delete;
    Keyring& operator=(const Keyring&) = delete;

    /// Ends the keyring's service and starts it again in another state.
    void restart(State state);
    /// The service answers nothing any more.
    void freeze() const;

private:
    SessionBus m_bus;
    TemporaryFolder m_folder;
    std::optional<ChildProcess> m_service;
};

} // namespace orvo::test
