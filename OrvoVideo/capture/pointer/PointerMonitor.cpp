#include "OrvoVideo/capture/pointer/PointerMonitor.h"

#include "OrvoVideo/capture/pointer/EvdevPresses.h"
#include "OrvoVideo/capture/pointer/X11PointerMonitor.h"
#include "Platform/desktop/WindowSystem.h"

namespace orvo {

namespace {

/// For systems that report no pointer.
class NoPointerMonitor final : public PointerMonitor {
public:
    std::optional<Point> position() override { return std::nullopt; }
    void onPress(std::function<void()>) override { }
    bool seesPresses() const override { return false; }
};

std::unique_ptr<PointerMonitor> monitorOf(WindowSystem system)
{
    switch (system) {
    case WindowSystem::x11:
        return X11PointerMonitor::open();
    case WindowSystem::wayland:
        return EvdevPresses::open();
    case WindowSystem::none:
        break;
    }
    return nullptr;
}

} // namespace

std::unique_ptr<PointerMonitor> PointerMonitor::create()
{
    auto monitor = monitorOf(windowSystem());
    return monitor ? std::move(monitor) : std::make_unique<NoPointerMonitor>();
}

} // namespace orvo
