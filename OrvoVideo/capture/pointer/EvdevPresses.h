#pragma once

#include "OrvoVideo/capture/pointer/PointerMonitor.h"

#include <filesystem>
#include <memory>

namespace orvo {

/// Button presses of mice and touch pads, read from the input devices: for window systems that do not report input to
/// other programs. Provides no positions. Follows devices that are plugged in and out.
///
/// Does not see taps on a touch pad; only the window system interprets those as presses.
class EvdevPresses final : public PointerMonitor {
public:
    /// Returns null when no device with buttons in `folder` is readable; most systems restrict that to a group.
    static std::unique_ptr<EvdevPresses> open(const std::filesystem::path& folder = "/dev/input");

    ~EvdevPresses() override;

    std::optional<Point> position() override { return std::nullopt; }
    void onPress(std::function<void()> pressed) override;
    bool seesPresses() const override { return true; }

private:
    class Reader;

    explicit EvdevPresses(std::unique_ptr<Reader> reader);

    std::unique_ptr<Reader> m_reader;
};

} // namespace orvo
