pragma ComponentBehavior: Bound

import QtQuick

/// An icon button. `text` is its accessible name and, with the shortcut, its tooltip; both come from its command, if it has one.
OButton {
    id: control

    property int command: Commands.None
    property string shortcutText: Commands.keyText(command)
    property int iconSize: Theme.iconSize

    text: Commands.title(command)
    plain: true
    implicitWidth: Theme.controlHeight
    implicitHeight: Theme.controlHeight
    leftPadding: 0
    rightPadding: 0
    Accessible.description: shortcutText

    contentItem: Item {
        OIcon {
            anchors.centerIn: parent
            name: control.iconName
            size: control.iconSize
            color: control.ink
        }
    }

    // Created when needed: lists have thousands of these buttons.
    Loader {
        active: control.hovered || control.visualFocus
        sourceComponent: OTooltip {
            parent: control
            visible: (control.hovered || control.visualFocus) && control.text !== ""
            text: control.shortcutText ? control.text + "  (" + control.shortcutText + ")" : control.text
        }
    }
}
