#pragma once

#include <cstdint>

namespace orvo {

/// What the programs of this user's session offer to others.
struct DesktopOffers {
    bool hasBus = false; ///< Whether there is a session bus.
    std::uint32_t screenCast = 0; ///< Version of the portal that shares screens; 0 without one.
    std::uint32_t globalShortcuts = 0; ///< Version of the portal for global shortcuts; 0 without one.
    bool hasTray = false; ///< Whether something shows tray icons.
    bool hasKeyring = false; ///< Whether a keychain runs or can be started.

    /// Asks the bus and the display. Blocks: each answer may take up to two seconds. Never fails. Any thread.
    static DesktopOffers look();

    /// Whether the portal shows file panels. Blocks as `look`, for one answer.
    static bool hasFilePanels();
};

} // namespace orvo
