#pragma once

#include "OrvoVideo/capture/screen/CaptureSources.h"

#include <functional>
#include <memory>
#include <optional>

class QScreen;

namespace orvo {

/// Lets the user drag a rectangle over a display. Main thread only.
class RegionPicker {
public:
    /// The rectangle in the global display space; nullopt if the user has cancelled.
    using Done = std::function<void(std::optional<Rect>)>;

    /// Needs a `QGuiApplication`.
    static std::unique_ptr<RegionPicker> create();

    RegionPicker() = default;
    RegionPicker(const RegionPicker&) = delete;
    RegionPicker& operator=(const RegionPicker&) = delete;
    virtual ~RegionPicker() = default;

    /// Covers the screen of a display until the user has finished. Calls `done` once, later, at the latest on destruction.
    /// Returns false without calling `done` if there is no such screen.
    [[nodiscard]] virtual bool pick(const CaptureSource& source, Done done) = 0;
};

/// The screen that shows this area of the global display space; null without one. A single screen shows every area.
QScreen* screenOf(const Rect& display);

} // namespace orvo
