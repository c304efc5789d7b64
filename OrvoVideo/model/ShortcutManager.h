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

/// The three combinations that control a recording from any application. They are kept between runs, in the settings
/// under "shortcut.1" to "shortcut.3", each as JSON: {"keyCode":15,"modifiers":6400}. Main thread only.
class ShortcutManager final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString supportText READ supportText NOTIFY supportChanged)
public:
    enum class Action : std::uint32_t { Record = 1, Pause = 2, Zoom = 3 };
    Q_ENUM(Action)
    static constexpr std::array actions{Action::Record, Action::Pause, Action::Zoom};

    /// A key and its modifiers, in the numbers of `ShortcutKeys`.
    struct Binding {
        std::uint32_t keyCode = 0;
        std::uint32_t modifiers = 0;

        friend bool operator==(const Binding&, const Binding&) = default;
    };

    /// Registers the stored combinations.
    explicit ShortcutManager(std::unique_ptr<ShortcutKeys> keys, QObject* parent = nullptr);
    ~ShortcutManager() override;

    /// The stored binding, or the usual one: Control, Alt and Super with R, P or Z.
    Binding binding(Action action) const;

    /// Stores a binding and registers all three again. Any combination is taken.
    void set(Action action, std::uint32_t key, std::uint32_t modifiers);

    /// Registers the three stored bindings in place of those that are. A combination that another program has is left out.
    void reload();

    /// How the binding of an action is shown: "⌃⌥⌘R".
    Q_INVOKABLE QString text(orvo::ShortcutManager::Action action) const;

    /// Stores the combination of a key event, with `qtKey`, `modifiers` and `scanCode` of the event, when it has at least
    /// two modifiers and a key that can be stored. Whether it did. Heard once `listen` is called.
    Q_INVOKABLE bool capture(orvo::ShortcutManager::Action action, int qtKey, int modifiers, quint32 scanCode);

    /// While a new combination is typed none is heard, so that typing one does not do what it is for.
    Q_INVOKABLE void holdBack();
    Q_INVOKABLE void listen();

    /// What the user has to know of where the shortcuts work; empty where they do, as set here.
    QString supportText() const;

    /// Whether a press of this combination is known to arrive here, whichever application has the keyboard.
    bool hears(Action action) const;

signals:
    /// A combination has been pressed. Never within the call of another operation.
    void pressed(orvo::ShortcutManager::Action action);
    /// What `text` gives has changed.
    void bindingsChanged();
    void supportChanged();

private:
    QString refusedText() const;

    std::unique_ptr<ShortcutKeys> m_keys;
    bool m_heldBack = false;
};

} // namespace orvo
