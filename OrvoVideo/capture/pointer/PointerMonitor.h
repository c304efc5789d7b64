#pragma once

#include "VideoCore/Geometry.h"

#include <functional>
#include <memory>
#include <optional>

namespace orvo {

/// The pointer's position and presses in the global display space (root window pixels on X11).
class PointerMonitor {
public:
    /// The monitor for this process's window system. Never fails; reports only what the system does.
    static std::unique_ptr<PointerMonitor> create();

    PointerMonitor() = default;
    PointerMonitor(const PointerMonitor&) = delete;
    PointerMonitor& operator=(const PointerMonitor&) = delete;
    virtual ~PointerMonitor() = default;

    /// The current position, or nullopt if unknown.
    virtual std::optional<Point> position() = 0;

    /// Calls `pressed` for every press of the left or right button anywhere, on a thread of the monitor, until another
    /// function is set or the object is destroyed.
    virtual void onPress(std::function<void()> pressed) = 0;

    /// Whether presses in other applications are reported.
    virtual bool seesPresses() const = 0;
};

} // namespace orvo
