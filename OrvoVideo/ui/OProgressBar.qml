import QtQuick
import QtQuick.Controls.Basic

/// A progress bar. `name` is its accessible name.
ProgressBar {
    id: control

    property string name: ""

    implicitWidth: 160
    implicitHeight: 6
    padding: 0
    Accessible.role: Accessible.ProgressBar
    Accessible.name: name
    Accessible.description: Math.round(visualPosition * 100) + " %"

    background: Rectangle {
        radius: 3
        color: Theme.line
    }
    contentItem: Item {
        Rectangle {
            width: control.visualPosition * parent.width
            height: parent.height
            radius: 3
            color: Theme.accent
        }
    }
}
