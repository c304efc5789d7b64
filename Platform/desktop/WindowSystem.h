#pragma once

#include <cstdint>

namespace orvo {

/// What draws the desktop that this process belongs to.
enum class WindowSystem : std::uint8_t {
    none, ///< There is no desktop.
    x11,
    wayland ///< Also where a display for programs of X11 is offered beside it.
};

/// By the variables that a session sets: the same for the whole life of the process.
WindowSystem windowSystem();

/// Whether one can see through windows: on X11 only while a compositor runs.
bool blendsWindows();

} // namespace orvo
