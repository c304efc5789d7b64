import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// A global shortcut: its title and its combination, which the user changes by pressing another one.
RowLayout {
    id: root

    required property string title
    required property int action
    required property ShortcutManager shortcuts

    property bool waiting: false
    /// A combination was accepted; its keys are still held.
    property bool taken: false
    property string combination: Wording.keys(shortcuts.text(action))
    /// The button's text while not waiting; the combination after a change.
    property string label: "Cambiar"

    function begin() {
        waiting = true
        taken = false
        shortcuts.holdBack()
        button.forceActiveFocus()
    }
    function end() {
        if (!waiting)
            return
        waiting = false
        shortcuts.listen()
    }

    spacing: Theme.space(3)
    Component.onDestruction: end()

    Connections {
        target: root.shortcuts

        function onBindingsChanged() {
            root.combination = Wording.keys(root.shortcuts.text(root.action))
        }
    }

    OLabel {
        Layout.fillWidth: true
        text: root.title
    }
    OLabel {
        objectName: "combination"
        visible: root.label !== root.combination
        secondary: true
        text: root.combination
        Accessible.name: root.title + ": " + text
    }
    OButton {
        id: button

        Layout.preferredWidth: 132
        text: root.waiting ? "Pulsa el atajo…" : root.label
        Accessible.name: text
        Accessible.description: root.title
        onClicked: root.begin()
        onActiveFocusChanged: {
            if (!activeFocus)
                root.end()
        }
        // Handles the keys before the button does.
        Keys.priority: Keys.BeforeItem
        Keys.onShortcutOverride: event => event.accepted = root.waiting
        Keys.onPressed: event => {
            if (!root.waiting)
                return
            event.accepted = true
            if (root.taken || event.isAutoRepeat)
                return
            if (event.key === Qt.Key_Escape && event.modifiers === Qt.NoModifier)
                root.end()
            else if (root.shortcuts.capture(root.action, event.key, event.modifiers, event.nativeScanCode)) {
                root.taken = true
                root.label = root.combination
            }
        }
        Keys.onReleased: event => {
            if (root.taken && !event.isAutoRepeat) {
                event.accepted = true
                root.end() // Active only now, so that the held keys do not trigger it.
            }
        }
    }
}
