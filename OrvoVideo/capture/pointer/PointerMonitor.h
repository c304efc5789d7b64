#pragma once

#include "VideoCore/Geometry.h"

#include <functional>
#include <memory>
#include <optional>

namespace orvo {

/// Where the pointer is and when it is pressed, in the global display space (pixels of the root window on X11).
class PointerMonitor {
public:
    /// The monitor of the window system that this process runs on. Where it tells little, or where there is none, the
    /// monitor knows little or nothing: this never fails.
    static std::unique_ptr<PointerMonitor> create();

    PointerMonitor() = default;
    PointerMonitor(const PointerMonitor&) = delete;
    PointerMonitor& operator=(const PointerMonitor&) = delete;
    virtual ~PointerMonitor() = default;

    /// Where the pointer is now; nothing where the system does not say.
    virtual std::optional<Point> position() = 0;

    /// Calls `pressed` for every press of the left or right button anywhere, on a thread of the monitor's own, until the
    /// object goes or another function is set.
    virtual void onPress(std::function<void()> pressed) = 0;

    /// Whether presses in other applications are seen.
    virtual bool seesPresses() const = 0;
};

} // namespace orvo
