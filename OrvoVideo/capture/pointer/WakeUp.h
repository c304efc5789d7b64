#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

namespace orvo {

/// Wakes a thread that waits in `poll`.
class WakeUp {
public:
    WakeUp() = default;
    ~WakeUp() { ::close(m_event); }
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// Readable after `call`.
    int descriptor() const noexcept { return m_event; }
    void call() const noexcept { ::eventfd_write(m_event, 1); }

private:
    int m_event = ::eventfd(0, EFD_CLOEXEC);
};

} // namespace orvo
