#include "Platform/shortcuts/VirtualKeys.h"

#include "Platform/shortcuts/ShortcutKeys.h"

#include <QKeySequence>
#include <algorithm>
#include <array>

namespace orvo::VirtualKeys {

namespace {

constexpr std::array keys = std::to_array<Key>({
    {0, 'a', Qt::Key_A, "a"},
    {1, 's', Qt::Key_S, "s"},
    {2, 'd', Qt::Key_D, "d"},
    {3, 'f', Qt::Key_F, "f"},
    {4, 'h', Qt::Key_H, "h"},
    {5, 'g', Qt::Key_G, "g"},
    {6, 'z', Qt::Key_Z, "z"},
    {7, 'x', Qt::Key_X, "x"},
    {8, 'c', Qt::Key_C, "c"},
    {9, 'v', Qt::Key_V, "v"},
    {11, 'b', Qt::Key_B, "b"},
    {12, 'q', Qt::Key_Q, "q"},
    {13, 'w', Qt::Key_W, "w"},
    {14, 'e', Qt::Key_E, "e"},
    {15, 'r', Qt::Key_R, "r"},
    {16, 'y', Qt::Key_Y, "y"},
    {17, 't', Qt::Key_T, "t"},
    {18, '1', Qt::Key_1, "1"},
    {19, '2', Qt::Key_2, "2"},
    {20, '3', Qt::Key_3, "3"},
    {21, '4', Qt::Key_4, "4"},
    {22, '6', Qt::Key_6, "6"},
    {23, '5', Qt::Key_5, "5"},
    {24, '=', Qt::Key_Equal, "equal"},
    {25, '9', Qt::Key_9, "9"},
    {26, '7', Qt::Key_7, "7"},
    {27, '-', Qt::Key_Minus, "minus"},
    {28, '8', Qt::Key_8, "8"},
    {29, '0', Qt::Key_0, "0"},
    {30, ']', Qt::Key_BracketRight, "bracketright"},
    {31, 'o', Qt::Key_O, "o"},
    {32, 'u', Qt::Key_U, "u"},
    {33, '[', Qt::Key_BracketLeft, "bracketleft"},
    {34, 'i', Qt::Key_I, "i"},
    {35, 'p', Qt::Key_P, "p"},
    {36, 0xff0d, Qt::Key_Return, "Return"},
    {37, 'l', Qt::Key_L, "l"},
    {38, 'j', Qt::Key_J, "j"},
    {39, '\'', Qt::Key_Apostrophe, "apostrophe"},
    {40, 'k', Qt::Key_K, "k"},
    {41, ';', Qt::Key_Semicolon, "semicolon"},
    {42, '\\', Qt::Key_Backslash, "backslash"},
    {43, ',', Qt::Key_Comma, "comma"},
    {44, '/', Qt::Key_Slash, "slash"},
    {45, 'n', Qt::Key_N, "n"},
    {46, 'm', Qt::Key_M, "m"},
    {47, '.', Qt::Key_Period, "period"},
    {48, 0xff09, Qt::Key_Tab, "Tab"},
    {49, ' ', Qt::Key_Space, "space"},
    {50, '`', Qt::Key_QuoteLeft, "grave"},
    {51, 0xff08, Qt::Key_Backspace, "BackSpace"},
    {53, 0xff1b, Qt::Key_Escape, "Escape"},
    {96, 0xffc2, Qt::Key_F5, "F5"},
    {97, 0xffc3, Qt::Key_F6, "F6"},
    {98, 0xffc4, Qt::Key_F7, "F7"},
    {99, 0xffc0, Qt::Key_F3, "F3"},
    {100, 0xffc5, Qt::Key_F8, "F8"},
    {101, 0xffc6, Qt::Key_F9, "F9"},
    {103, 0xffc8, Qt::Key_F11, "F11"},
    {109, 0xffc7, Qt::Key_F10, "F10"},
    {111, 0xffc9, Qt::Key_F12, "F12"},
    {114, 0xff63, Qt::Key_Insert, "Insert"},
    {115, 0xff50, Qt::Key_Home, "Home"},
    {116, 0xff55, Qt::Key_PageUp, "Prior"},
    {117, 0xffff, Qt::Key_Delete, "Delete"},
    {118, 0xffc1, Qt::Key_F4, "F4"},
    {119, 0xff57, Qt::Key_End, "End"},
    {120, 0xffbf, Qt::Key_F2, "F2"},
    {121, 0xff56, Qt::Key_PageDown, "Next"},
    {122, 0xffbe, Qt::Key_F1, "F1"},
    {123, 0xff51, Qt::Key_Left, "Left"},
    {124, 0xff53, Qt::Key_Right, "Right"},
    {125, 0xff54, Qt::Key_Down, "Down"},
    {126, 0xff52, Qt::Key_Up, "Up"},
});

const Key* withQtKey(int qtKey)
{
    const auto found = std::ranges::find(keys, static_cast<Qt::Key>(qtKey), &Key::qt);
    return found == keys.end() ? nullptr : &*found;
}

/// The digits above the letters, "1" to "0", have consecutive scan codes from 10.
const Key* digitAt(std::uint32_t scanCode)
{
    constexpr std::uint32_t first = 10;
    if (scanCode < first || scanCode >= first + 10)
        return nullptr;
    return withQtKey(Qt::Key_0 + static_cast<int>((scanCode - first + 1) % 10));
}

} // namespace

const Key* withCode(std::uint32_t code)
{
    const auto found = std::ranges::find(keys, code, &Key::code);
    return found == keys.end() ? nullptr : &*found;
}

const Key* ofEvent(int qtKey, std::uint32_t scanCode)
{
    const Key* key = withQtKey(qtKey);
    return key ? key : digitAt(scanCode);
}

QString text(std::uint32_t code, std::uint32_t modifiers)
{
    QString result;
    for (const auto& [mask, sign] : {std::pair{ShortcutKeys::control, u'⌃'}, std::pair{ShortcutKeys::option, u'⌥'},
             std::pair{ShortcutKeys::shift, u'⇧'}, std::pair{ShortcutKeys::command, u'⌘'}}) {
        if ((modifiers & mask) != 0)
            result += QChar(sign);
    }
    const Key* key = withCode(code);
    return result + (key ? QKeySequence(key->qt).toString(QKeySequence::NativeText) : QStringLiteral("?"));
}

} // namespace orvo::VirtualKeys
