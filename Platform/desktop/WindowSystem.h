#pragma once

#include <cstdint>

namespace orvo {

/// The window system of this process's session.
enum class WindowSystem : std::uint8_t {
    none, ///< No desktop.
    x11,
    wayland ///< Also when the compositor offers an X11 display (Xwayland) beside it.
};

/// Read from the session's environment variables; constant for the life of the process.
WindowSystem windowSystem();

/// Whether windows can be translucent. On X11 this needs a running compositor.
bool blendsWindows();

} // namespace orvo
