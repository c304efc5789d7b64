#pragma once

#include <QObject>
#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

namespace orvo {

/// Key combinations that are heard whichever application has the keyboard. An object of the main thread; nothing here waits.
class ShortcutKeys : public QObject {
    Q_OBJECT
public:
    // Masks of modifiers.
    static constexpr std::uint32_t command = 0x100; ///< The key "Super".
    static constexpr std::uint32_t shift = 0x200;
    static constexpr std::uint32_t option = 0x800; ///< The key "Alt".
    static constexpr std::uint32_t control = 0x1000;

    struct Combination {
        std::uint32_t id = 0; ///< Comes back with `pressed`; not 0, and no other has it.
        std::uint32_t keyCode = 0; ///< One that `VirtualKeys` knows.
        std::uint32_t modifiers = 0; ///< Masks, added.
        QString description; ///< What it does, for the desktop's own settings. In Spanish.
    };

    /// Who decides which combinations are heard.
    enum class Support : std::uint8_t {
        none, ///< None is: there is no way, or it is not known yet.
        ours, ///< Those that are asked for.
        desktop ///< The desktop: what is asked for is a proposal, its own settings have the last word.
    };

    /// The way of the window system that this process runs on; where there is none, one that never hears anything.
    static std::unique_ptr<ShortcutKeys> create();

    ShortcutKeys() = default;

    /// From now on these are heard and no others. One that is refused (another program has it) or whose key the keyboard
    /// lacks is left out; the others work.
    virtual void listen(const std::vector<Combination>& combinations) = 0;

    virtual Support support() const = 0;

    /// Whether the combination with this identifier is known to be heard. False when another program has it, when the
    /// keyboard lacks its key, and where the desktop decides, which does not reliably say.
    virtual bool hears(std::uint32_t id) const = 0;

signals:
    /// A combination has been pressed; once, however long it is held. Emitted from the event loop.
    void pressed(quint32 id);
    /// `support` or `hears` may answer otherwise than before.
    void supportChanged();
};

} // namespace orvo
