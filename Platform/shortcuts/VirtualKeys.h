#pragma once

#include <QString>
#include <cstdint>
#include <optional>

/// The keys of stored combinations: system-independent numbers of physical keys, and their names here. A letter's number
/// is its position on the US layout; here it means the key that types the letter.
namespace orvo::VirtualKeys {

struct Key {
    std::uint32_t code; ///< The stored number.
    std::uint32_t symbol; ///< Keysym of an X11 keyboard.
    Qt::Key qt; ///< Key of Qt's events.
    const char* name; ///< Name of the keysym.
};

/// Returns null for an unknown number.
const Key* withCode(std::uint32_t code);

/// The key of an event, by its symbol, else by its scan code (a digit with Shift has another symbol). `scanCode` is that
/// of X11 and Wayland, or 0 if unknown. Returns null for keys that cannot be stored, such as a lone modifier.
const Key* ofEvent(int qtKey, std::uint32_t scanCode);

/// A combination for display: "⌃⌥⌘R". An unknown key is "?".
QString text(std::uint32_t code, std::uint32_t modifiers);

} // namespace orvo::VirtualKeys
