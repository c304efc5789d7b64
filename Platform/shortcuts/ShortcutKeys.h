#pragma once

#include <QObject>
#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

namespace orvo {

/// Global key combinations: they work whichever application has the keyboard focus. Main thread only; does not block.
class ShortcutKeys : public QObject {
    Q_OBJECT
public:
    // Modifier masks.
    static constexpr std::uint32_t command = 0x100; ///< The key "Super".
    static constexpr std::uint32_t shift = 0x200;
    static constexpr std::uint32_t option = 0x800; ///< The key "Alt".
    static constexpr std::uint32_t control = 0x1000;

    struct Combination {
        std::uint32_t id = 0; ///< Passed to `pressed`; unique and not 0.
        std::uint32_t keyCode = 0; ///< A code known to `VirtualKeys`.
        std::uint32_t modifiers = 0; ///< Sum of modifier masks.
        QString description; ///< The name of the action, in Spanish, for the desktop's settings.
    };

    /// Which combinations work.
    enum class Support : std::uint8_t {
        none, ///< No combination: the session does not support them, or support is not known yet.
        ours, ///< The requested ones.
        desktop ///< Those in the desktop's settings: requests are only proposals.
    };

    /// The implementation for this process's window system. On other systems, `pressed` is never emitted.
    static std::unique_ptr<ShortcutKeys> create();

    ShortcutKeys() = default;

    /// Replaces the combinations to listen for. Skips combinations that another program has, and those whose key is not on
    /// the keyboard.
    virtual void listen(const std::vector<Combination>& combinations) = 0;

    virtual Support support() const = 0;

    /// Whether the combination with this identifier is known to work. False when another program has it, when its key is
    /// not on the keyboard, and with `Support::desktop`, because desktops do not report it reliably.
    virtual bool hears(std::uint32_t id) const = 0;

signals:
    /// A combination was pressed. Emitted from the event loop, once however long the keys are held.
    void pressed(quint32 id);
    /// `support` or `hears` may have changed.
    void supportChanged();
};

} // namespace orvo
