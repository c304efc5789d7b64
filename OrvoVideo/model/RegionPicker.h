#pragma once

#include "OrvoVideo/capture/screen/CaptureSources.h"

#include <functional>
#include <memory>
#include <optional>

class QScreen;

namespace orvo {

/// Has the user drag a rectangle over a display. Main thread only.
class RegionPicker {
public:
    /// The rectangle in the global display space; nothing when the user has cancelled.
    using Done = std::function<void(std::optional<Rect>)>;

    /// Needs a `QGuiApplication`.
    static std::unique_ptr<RegionPicker> create();

    RegionPicker() = default;
    RegionPicker(const RegionPicker&) = delete;
    RegionPicker& operator=(const RegionPicker&) = delete;
    virtual ~RegionPicker() = default;

    /// Covers the screen of a display until the user has finished. `done` is called once, later, also when this object goes.
    /// False, and `done` is not called, when there is no such screen.
    [[nodiscard]] virtual bool pick(const CaptureSource& source, Done done) = 0;
};

/// The screen that shows this area of the global display space; null when there is none. A single screen shows everything.
QScreen* screenOf(const Rect& display);

} // namespace orvo
