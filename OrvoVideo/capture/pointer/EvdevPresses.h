#pragma once

#include "OrvoVideo/capture/pointer/PointerMonitor.h"

#include <filesystem>
#include <memory>

namespace orvo {

/// Presses of the buttons of mice and touch pads, read from the input devices themselves: for window systems that tell no
/// program what happens in another one. Where the pointer is they do not know. Devices may come and go.
///
/// Taps on a touch pad, which only the window system takes for presses, are not seen.
class EvdevPresses final : public PointerMonitor {
public:
    /// Nothing when no device with buttons in `folder` may be read: most systems allow that to the members of a group only.
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
