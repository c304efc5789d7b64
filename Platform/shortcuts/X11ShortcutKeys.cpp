#include "Platform/shortcuts/X11ShortcutKeys.h"

#include "Platform/desktop/Xcb.h"
#include "Platform/shortcuts/VirtualKeys.h"

#include <QSocketNotifier>
#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <utility>
#include <xcb/xcb_keysyms.h>

namespace orvo {

namespace {

// Keysyms of modifier keys.
constexpr xcb_keysym_t numLockKey = 0xff7f;
constexpr xcb_keysym_t altKey = 0xffe9;
constexpr xcb_keysym_t superKey = 0xffeb;

struct FreeSymbols {
    void operator()(xcb_key_symbols_t* symbols) const noexcept { xcb_key_symbols_free(symbols); }
};

/// The event state bits that this keyboard's modifier keys set.
struct ModifierBits {
    unsigned alt = XCB_MOD_MASK_1;
    unsigned super = XCB_MOD_MASK_4;
    unsigned numLock = XCB_MOD_MASK_2;
};

} // namespace

class X11ShortcutKeys::Grabs {
public:
    explicit Grabs(XcbDisplay display)
        : m_display(std::move(display))
        , m_symbols(xcb_key_symbols_alloc(m_display.get()))
        , m_notifier(xcb_get_file_descriptor(m_display.get()), QSocketNotifier::Read)
    {
    }

    QSocketNotifier& notifier() { return m_notifier; }

    void set(const std::vector<Combination>& combinations)
    {
        m_combinations = combinations;
        grabAll();
    }

    /// Whether the combination is grabbed.
    bool has(std::uint32_t id) const { return std::ranges::contains(m_grabs, id, &Grab::id); }

    /// The number of times that the keys were grabbed; changes with the keyboard mapping.
    unsigned round() const { return m_round; }

    /// The combinations pressed since the last call, in order.
    std::vector<std::uint32_t> pressed()
    {
        std::vector<std::uint32_t> ids;
        while (const auto event = next())
            take(*event, ids);
        if (std::exchange(m_keyboardChanged, false))
            grabAll();
        if (xcb_connection_has_error(m_display.get()) != 0)
            m_notifier.setEnabled(false); // The display is gone.
        return ids;
    }

private:
    struct Grab {
        std::uint32_t id;
        xcb_keycode_t key;
        unsigned modifiers;
    };

    XcbHandle<xcb_generic_event_t> next()
    {
        if (m_peeked)
            return std::exchange(m_peeked, nullptr);
        return XcbHandle<xcb_generic_event_t>(xcb_poll_for_event(m_display.get()));
    }

    void take(const xcb_generic_event_t& event, std::vector<std::uint32_t>& ids)
    {
        switch (event.response_type & 0x7f) {
        case XCB_KEY_PRESS: {
            const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(event);
            if (!m_held.insert(press.detail).second)
                break;
            if (const auto id = combinationOf(press))
                ids.push_back(*id);
            break;
        }
        case XCB_KEY_RELEASE: {
            const auto& release = reinterpret_cast<const xcb_key_release_event_t&>(event);
            if (!isRepeated(release))
                m_held.erase(release.detail);
            break;
        }
        case XCB_MAPPING_NOTIFY: {
            auto mapping = reinterpret_cast<const xcb_mapping_notify_event_t&>(event);
            xcb_refresh_keyboard_mapping(m_symbols.get(), &mapping);
            m_keyboardChanged |= mapping.request != XCB_MAPPING_POINTER;
            break;
        }
        default:
            break;
        }
    }

    /// Whether the release is auto-repeat: a held key sends release and press with the same time stamp.
    bool isRepeated(const xcb_key_release_event_t& release)
    {
        m_peeked = next();
        if (!m_peeked) {
            // A round trip makes sure that all events sent with the release have arrived.
            auto* connection = m_display.get();
            const XcbHandle<xcb_get_input_focus_reply_t> answer(
                xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
            m_peeked = next();
        }
        if (!m_peeked || (m_peeked->response_type & 0x7f) != XCB_KEY_PRESS)
            return false;
        const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(*m_peeked);
        return press.detail == release.detail && press.time == release.time;
    }

    std::optional<std::uint32_t> combinationOf(const xcb_key_press_event_t& press) const
    {
        const unsigned relevant = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | m_bits.alt | m_bits.super;
        const auto found = std::ranges::find_if(m_grabs,
            [&](const Grab& grab) { return grab.key == press.detail && grab.modifiers == (press.state & relevant); });
        return found == m_grabs.end() ? std::nullopt : std::optional(found->id);
    }

    void grabAll()
    {
        xcb_ungrab_key(m_display.get(), XCB_GRAB_ANY, m_display.root, XCB_MOD_MASK_ANY);
        ++m_round;
        m_grabs.clear();
        m_held.clear();
        m_bits = readModifiers();
        for (const auto& combination : m_combinations) {
            const auto* key = VirtualKeys::withCode(combination.keyCode);
            if (!key)
                continue;
            for (const auto code : codesOf(key->symbol))
                grab({.id = combination.id, .key = code, .modifiers = bitsOf(combination.modifiers)});
        }
        xcb_flush(m_display.get());
    }

    void grab(const Grab& wanted)
    {
        auto* connection = m_display.get();
        const std::array<unsigned, 4> locks{0U, XCB_MOD_MASK_LOCK, m_bits.numLock, XCB_MOD_MASK_LOCK | m_bits.numLock};
        std::array<xcb_void_cookie_t, locks.size()> asked{};
        for (std::size_t i = 0; i < locks.size(); ++i)
            asked[i] =
                xcb_grab_key_checked(connection, 1, m_display.root, static_cast<std::uint16_t>(wanted.modifiers | locks[i]),
                    wanted.key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        bool refused = false;
        for (const auto& cookie : asked)
            refused |= XcbHandle<xcb_generic_error_t>(xcb_request_check(connection, cookie)) != nullptr;
        if (!refused) {
            m_grabs.push_back(wanted);
            return;
        }
        for (const auto lock : locks)
            xcb_ungrab_key(connection, wanted.key, m_display.root, static_cast<std::uint16_t>(wanted.modifiers | lock));
    }

    unsigned bitsOf(std::uint32_t modifiers) const
    {
        unsigned bits = 0;
        for (const auto& [mask, bit] : {std::pair<std::uint32_t, unsigned>{command, m_bits.super},
                 {shift, XCB_MOD_MASK_SHIFT}, {option, m_bits.alt}, {control, XCB_MOD_MASK_CONTROL}}) {
            if ((modifiers & mask) != 0)
                bits |= bit;
        }
        return bits;
    }

    /// The keys that type this symbol without a modifier.
    std::vector<xcb_keycode_t> codesOf(xcb_keysym_t symbol)
    {
        std::vector<xcb_keycode_t> codes;
        const XcbHandle<xcb_keycode_t> all(xcb_key_symbols_get_keycode(m_symbols.get(), symbol));
        for (const auto* code = all.get(); code && *code != XCB_NO_SYMBOL; ++code) {
            if (xcb_key_symbols_get_keysym(m_symbols.get(), *code, 0) == symbol)
                codes.push_back(*code);
        }
        return codes;
    }

    ModifierBits readModifiers()
    {
        ModifierBits bits;
        auto* connection = m_display.get();
        const XcbHandle<xcb_get_modifier_mapping_reply_t> mapping(
            xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr));
        if (!mapping)
            return bits;
        const auto* codes = xcb_get_modifier_mapping_keycodes(mapping.get());
        constexpr unsigned firstFree = 3; // The first three are Shift, Lock and Control.
        for (unsigned modifier = firstFree; modifier < 8; ++modifier) {
            for (unsigned i = 0; i < mapping->keycodes_per_modifier; ++i) {
                const auto code = codes[modifier * mapping->keycodes_per_modifier + i];
                if (code == 0)
                    continue;
                switch (xcb_key_symbols_get_keysym(m_symbols.get(), code, 0)) {
                case numLockKey:
                    bits.numLock = 1U << modifier;
                    break;
                case altKey:
                    bits.alt = 1U << modifier;
                    break;
                case superKey:
                    bits.super = 1U << modifier;
                    break;
                default:
                    break;
                }
            }
        }
        return bits;
    }

    XcbDisplay m_display;
    std::unique_ptr<xcb_key_symbols_t, FreeSymbols> m_symbols;
    QSocketNotifier m_notifier;
    std::vector<Combination> m_combinations;
    std::vector<Grab> m_grabs; ///< The granted ones.
    ModifierBits m_bits;
    std::set<xcb_keycode_t> m_held;
    XcbHandle<xcb_generic_event_t> m_peeked;
    bool m_keyboardChanged = false;
    unsigned m_round = 0;
};

std::unique_ptr<X11ShortcutKeys> X11ShortcutKeys::open()
{
    auto display = XcbDisplay::open();
    if (!display)
        return nullptr;
    return std::unique_ptr<X11ShortcutKeys>(new X11ShortcutKeys(std::make_unique<Grabs>(std::move(display))));
}

X11ShortcutKeys::X11ShortcutKeys(std::unique_ptr<Grabs> grabs)
    : m_grabs(std::move(grabs))
{
    connect(&m_grabs->notifier(), &QSocketNotifier::activated, this, &X11ShortcutKeys::takeEvents);
}

X11ShortcutKeys::~X11ShortcutKeys() = default;

void X11ShortcutKeys::listen(const std::vector<Combination>& combinations)
{
    m_grabs->set(combinations);
    emit supportChanged();
    // Events may have arrived with the replies; the socket does not signal them again.
    QMetaObject::invokeMethod(this, &X11ShortcutKeys::takeEvents, Qt::QueuedConnection);
}

bool X11ShortcutKeys::hears(std::uint32_t id) const
{
    return m_grabs->has(id);
}

void X11ShortcutKeys::takeEvents()
{
    const auto round = m_grabs->round();
    for (const auto id : m_grabs->pressed())
        emit pressed(id);
    if (m_grabs->round() != round)
        emit supportChanged();
}

} // namespace orvo
