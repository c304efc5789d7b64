import QtQuick
import QtQuick.Controls.Basic

/// A menu entry, with its shortcut on the right.
MenuItem {
    id: control

    property string iconName: ""
    property bool destructive: false
    property int command: (action as CommandAction)?.command ?? Commands.None
    property string shortcutText: Commands.keyText(command)

    implicitWidth: Math.max(220, contentItem.implicitWidth + leftPadding + rightPadding)
    implicitHeight: visible ? Theme.controlHeight : 0
    leftPadding: Theme.space(2.5)
    rightPadding: Theme.space(2.5)
    font.pixelSize: Theme.bodySize
    Accessible.name: text.replace(/&&|&/g, sign => sign === "&&" ? "&" : "")

    indicator: null
    arrow: null
    contentItem: Item {
        implicitWidth: title.implicitWidth + keys.implicitWidth + Theme.space(control.iconName || control.checkable ? 12 : 6)

        OIcon {
            anchors.verticalCenter: parent.verticalCenter
            visible: name !== ""
            name: control.checkable ? (control.checked ? "check" : "") : control.iconName
            color: title.color
        }
        OMnemonic {
            id: title

            anchors.verticalCenter: parent.verticalCenter
            x: control.iconName || control.checkable ? Theme.space(6) : 0
            label: control.text
            color: control.destructive ? Theme.danger : Theme.text
            opacity: control.enabled ? 1 : 0.45
            font: control.font
        }
        Text {
            id: keys

            anchors.verticalCenter: parent.verticalCenter
            anchors.right: parent.right
            text: control.shortcutText
            color: Theme.secondaryText
            opacity: control.enabled ? 1 : 0.45
            font.pixelSize: Theme.captionSize
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: Theme.radius - 2
        color: control.highlighted ? Theme.raised : "transparent"
    }
}
