#pragma once

#include <QString>
#include <cstdint>
#include <optional>

/// The keys of stored combinations: system-independent key numbers, and their symbols on this system. The number of a
/// letter stems from its position on the US layout, but means the key that types the letter.
namespace orvo::VirtualKeys {

struct Key {
    std::uint32_t code; ///< The stored number.
    std::uint32_t symbol; ///< Keysym of an X11 keyboard.
    Qt::Key qt; ///< Key of Qt's events.
    const char* name; ///< Name of the keysym.
};

/// Returns null for an unknown number.
const Key* withCode(std::uint32_t code);

/// The key of an event, by its symbol, else by its scan code (a digit with Shift has another symbol). `scanCode` is the
/// X11 key code, or 0 if unknown. Returns null for keys that cannot be stored, such as a lone modifier.
const Key* ofEvent(int qtKey, std::uint32_t scanCode);

/// A combination for display: "⌃⌥⌘R". An unknown key is "?".
QString text(std::uint32_t code, std::uint32_t modifiers);

} // namespace orvo::VirtualKeys
