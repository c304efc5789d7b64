import QtQuick
import QtQuick.Controls.Basic

/// A thin scroll bar, visible while there is something to scroll.
ScrollBar {
    id: control

    implicitWidth: orientation === Qt.Vertical ? 10 : 0
    implicitHeight: orientation === Qt.Horizontal ? 10 : 0
    padding: 2
    minimumSize: 0.05
    visible: policy === ScrollBar.AlwaysOn || (policy === ScrollBar.AsNeeded && size < 1)

    contentItem: Rectangle {
        implicitWidth: 6
        implicitHeight: 6
        radius: 3
        color: Theme.edge
        opacity: control.pressed ? 1 : control.hovered ? 0.8 : 0.5
    }
}
