import QtQuick
import Orvo.Ui

/// A menu entry that selects the appearance of the windows.
CommandAction {
    /// "system", "dark" or "light".
    required property string choice

    checkable: true
    checked: Appearance.choice === choice
    onTriggered: {
        Appearance.choice = choice
        checked = Qt.binding(() => Appearance.choice === choice)
    }
}
