#include "Platform/WindowSystem.h"

#include <cstdlib>

namespace orvo {

WindowSystem windowSystem()
{
    const auto isSet = [](const char* name) {
        const char* value = std::getenv(name);
        return value && *value;
    };
    if (isSet("WAYLAND_DISPLAY"))
        return WindowSystem::wayland;
    return isSet("DISPLAY") ? WindowSystem::x11 : WindowSystem::none;
}

} // namespace orvo
