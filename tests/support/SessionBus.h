#pragma once

#include "TestSupport/ChildProcess.h"
#include "TestSupport/TemporaryFolder.h"

#include <optional>

namespace orvo::test {

/// A private session bus without services, for this process and its children.
class SessionBus {
public:
    SessionBus();
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    const std::string& address() const noexcept { return m_address; }

private:
    TemporaryFolder m_folder;
    std::optional<ChildProcess> m_daemon;
    std::string m_address;
    std::optional<std::string> m_before;
};

} // namespace orvo::test
