#pragma once

#include <cstdint>

namespace orvo {

/// The desktop services that are available in the user's session.
struct DesktopOffers {
    bool hasBus = false; ///< Whether there is a session bus.
    std::uint32_t screenCast = 0; ///< Version of the portal that shares screens; 0 without one.
    std::uint32_t globalShortcuts = 0; ///< Version of the portal for global shortcuts; 0 without one.
    bool hasTray = false; ///< Whether the desktop shows tray icons.
    bool hasKeyring = false; ///< Whether a keychain is running or can be started.

    /// Queries the bus and the display. Blocks for up to two seconds per query. Never fails. Any thread.
    static DesktopOffers look();

    /// Whether the portal shows file panels. Blocks for up to two seconds. Any thread.
    static bool hasFilePanels();
};

} // namespace orvo
