import QtQuick

/// Draws the keyboard focus around its parent.
Rectangle {
    property bool shown: false

    anchors.fill: parent
    anchors.margins: -3
    visible: shown
    color: "transparent"
    border.width: 2
    border.color: Theme.accentInk
    radius: Theme.radius + 3
    z: 1
}
