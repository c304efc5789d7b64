#pragma once

#include "VideoCore/UniqueFd.h"

#include <sys/eventfd.h>

namespace orvo {

/// Wakes a thread that waits in `poll`.
class WakeUp {
public:
    /// Readable after `call`.
    int descriptor() const noexcept { return m_event.get(); }
    void call() const noexcept { ::eventfd_write(m_event.get(), 1); }

private:
    UniqueFd m_event{::eventfd(0, EFD_CLOEXEC)};
};

} // namespace orvo
