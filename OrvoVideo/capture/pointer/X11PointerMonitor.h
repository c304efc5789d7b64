#pragma once

#include "OrvoVideo/capture/pointer/PointerMonitor.h"

#include <memory>

namespace orvo {

/// The pointer of an X11 display: its place is asked for, its presses arrive as raw events, whoever they are meant for.
class X11PointerMonitor final : public PointerMonitor {
public:
    /// Nothing when the display named by the environment cannot be opened.
    static std::unique_ptr<X11PointerMonitor> open();

    ~X11PointerMonitor() override;

    std::optional<Point> position() override;
    void onPress(std::function<void()> pressed) override;
    bool seesPresses() const override;

private:
    class Presses;
    struct Display;

    X11PointerMonitor(std::unique_ptr<Display> display, std::unique_ptr<Presses> presses);

    std::unique_ptr<Display> m_display; ///< Asked for the place; no event ever arrives on it.
    std::unique_ptr<Presses> m_presses; ///< On a connection of its own. Null where the display has no raw events.
};

} // namespace orvo
