import QtQuick
import Orvo.Ui

/// One of the appearances of the windows to choose from.
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
