import QtQuick
import QtQuick.Controls.Basic
import Orvo.Ui

/// One of the appearances of the windows to choose from.
Action {
    /// "system", "dark" or "light".
    required property string choice

    checkable: true
    checked: Appearance.choice === choice
    onTriggered: {
        Appearance.choice = choice
        checked = Qt.binding(() => Appearance.choice === choice)
    }
}
