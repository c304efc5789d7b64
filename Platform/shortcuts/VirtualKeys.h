#pragma once

#include <QString>
#include <cstdint>
#include <optional>

/// The keys that combinations are stored with: numbers of the places on a keyboard, the same on every system, and what these
/// are called on this one. The place of a letter is that of the US layout; here the key that bears the letter stands for it.
namespace orvo::VirtualKeys {

struct Key {
    std::uint32_t code; ///< The stored number.
    std::uint32_t symbol; ///< What an X11 keyboard calls it.
    Qt::Key qt; ///< What events of the windows call it.
    const char* name; ///< The name of the symbol.
};

/// Nothing for a number that no key here has.
const Key* withCode(std::uint32_t code);

/// The key of an event, by its symbol, else (a digit with Shift has another one) by its place: the scan code of X11 and
/// Wayland, 0 where there is none. Nothing for what cannot be stored, like a modifier alone.
const Key* ofEvent(int qtKey, std::uint32_t scanCode);

/// How a combination is shown: "⌃⌥⌘R". "?" stands for a key that is not known.
QString text(std::uint32_t code, std::uint32_t modifiers);

} // namespace orvo::VirtualKeys
