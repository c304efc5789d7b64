#pragma once

#include "OrvoVideo/capture/pointer/PointerMonitor.h"

#include <memory>

namespace orvo {

/// The pointer of an X11 display: queries its position and receives raw button events, whichever window they are for.
class X11PointerMonitor final : public PointerMonitor {
public:
    /// Returns null when the display of the environment cannot be opened.
    static std::unique_ptr<X11PointerMonitor> open();

    ~X11PointerMonitor() override;

    std::optional<Point> position() override;
    void onPress(std::function<void()> pressed) override;
    bool seesPresses() const override;

private:
    class Presses;
    struct Display;

    X11PointerMonitor(std::unique_ptr<Display> display, std::unique_ptr<Presses> presses);

    std::unique_ptr<Display> m_display; ///< For queries only; receives no events.
    std::unique_ptr<Presses> m_presses; ///< Has its own connection. Null if the display lacks raw events.
};

} // namespace orvo
