#pragma once

#include "Platform/shortcuts/ShortcutKeys.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace orvo {

/// The three global shortcuts that control a recording. Stored in the settings as "shortcut.1" to "shortcut.3", each as
/// JSON: {"keyCode":15,"modifiers":6400}. Main thread only.
class ShortcutManager final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString supportText READ supportText NOTIFY supportChanged)
public:
    enum class Action : std::uint32_t { Record = 1, Pause = 2, Zoom = 3 };
    Q_ENUM(Action)
    static constexpr std::array actions{Action::Record, Action::Pause, Action::Zoom};

    /// A key and its modifiers, numbered as in `ShortcutKeys`.
    struct Binding {
        std::uint32_t keyCode = 0;
        std::uint32_t modifiers = 0;

        friend bool operator==(const Binding&, const Binding&) = default;
    };

    /// Registers the stored combinations.
    explicit ShortcutManager(std::unique_ptr<ShortcutKeys> keys, QObject* parent = nullptr);
    ~ShortcutManager() override;

    /// The stored binding, or the default: Control, Alt and Super with R, P or Z.
    Binding binding(Action action) const;

    /// Stores a binding and registers all three again. Accepts any combination.
    void set(Action action, std::uint32_t key, std::uint32_t modifiers);

    /// Replaces the registered bindings by the stored ones. Skips combinations that another program has.
    void reload();

    /// The text of an action's binding: "⌃⌥⌘R".
    Q_INVOKABLE QString text(orvo::ShortcutManager::Action action) const;

    /// Stores the combination of a key event, if it has at least two modifiers and a key that can be stored. `qtKey`,
    /// `modifiers` and `scanCode` are those of the event. Returns whether it did. Takes effect with `listen`.
    Q_INVOKABLE bool capture(orvo::ShortcutManager::Action action, int qtKey, int modifiers, quint32 scanCode);

    /// Unregisters all combinations while the user types a new one, so that typing triggers no action; `listen` registers
    /// them again.
    Q_INVOKABLE void holdBack();
    Q_INVOKABLE void listen();

    /// Explains limitations of the shortcuts to the user; empty if all work as set here.
    QString supportText() const;

    /// Whether the combination certainly works in every application.
    bool hears(Action action) const;

signals:
    /// A combination was pressed. Emitted from the event loop, never within another call.
    void pressed(orvo::ShortcutManager::Action action);
    /// The results of `text` have changed.
    void bindingsChanged();
    void supportChanged();

private:
    QString refusedText() const;

    std::unique_ptr<ShortcutKeys> m_keys;
    bool m_heldBack = false;
};

} // namespace orvo
