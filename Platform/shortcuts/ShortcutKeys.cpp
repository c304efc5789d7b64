#include "Platform/shortcuts/ShortcutKeys.h"

#include "Platform/desktop/WindowSystem.h"
#include "Platform/shortcuts/PortalShortcutKeys.h"
#include "Platform/shortcuts/X11ShortcutKeys.h"

namespace orvo {

namespace {

/// For a session without global shortcuts.
class NoShortcutKeys final : public ShortcutKeys {
public:
    void listen(const std::vector<Combination>&) override { }
    Support support() const override { return Support::none; }
    bool hears(std::uint32_t) const override { return false; }
};

} // namespace

std::unique_ptr<ShortcutKeys> ShortcutKeys::create()
{
    switch (windowSystem()) {
    case WindowSystem::x11:
        if (auto keys = X11ShortcutKeys::open())
            return keys;
        break;
    case WindowSystem::wayland:
        return std::make_unique<PortalShortcutKeys>();
    case WindowSystem::none:
        break;
    }
    return std::make_unique<NoShortcutKeys>();
}

} // namespace orvo
