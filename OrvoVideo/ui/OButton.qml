import QtQuick
import QtQuick.Controls.Basic

/// A button with an icon and a text, both optional. `prominent` marks the main action, `destructive` a removal.
Button {
    id: control

    property string iconName: ""
    property bool prominent: false
    property bool destructive: false
    /// Draws no background until hovered.
    property bool plain: false
    /// Shows the icon alone, where there is no room for the text.
    property bool folded: false

    readonly property color ink: {
        if (prominent)
            return destructive ? "#FFFFFF" : Theme.inkOnAccent
        return destructive ? Theme.danger : Theme.text
    }
    readonly property color fill: {
        if (prominent)
            return destructive ? "#C22626" : Theme.accent
        return plain ? "transparent" : Theme.raised
    }

    implicitHeight: prominent ? Theme.prominentHeight : Theme.controlHeight
    implicitWidth: Math.max(implicitHeight, implicitContentWidth + leftPadding + rightPadding)
    leftPadding: Theme.space(text && !folded ? 3.5 : 2)
    rightPadding: leftPadding
    topPadding: 0
    bottomPadding: 0
    spacing: Theme.space(2)
    opacity: enabled ? 1 : 0.45
    font.pixelSize: Theme.bodySize
    font.weight: prominent ? Font.DemiBold : Font.Medium
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    Accessible.role: Accessible.Button
    Accessible.name: text
    Keys.onReturnPressed: click()
    Keys.onEnterPressed: click()

    contentItem: Item {
        implicitWidth: (label.visible ? label.implicitWidth : 0) + (icon.visible ? icon.width + (label.visible ? control.spacing : 0) : 0)
        implicitHeight: Math.max(label.implicitHeight, icon.height)

        Row {
            anchors.centerIn: parent
            spacing: control.spacing

            OIcon {
                id: icon

                visible: control.iconName !== ""
                anchors.verticalCenter: parent.verticalCenter
                width: size
                height: size
                name: control.iconName
                color: control.ink
            }
            Text {
                id: label

                visible: text !== "" && !control.folded
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth, control.availableWidth - (icon.visible ? icon.width + control.spacing : 0))
                text: control.text
                color: control.ink
                font: control.font
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }
    }
    background: Rectangle {
        color: control.fill
        radius: Theme.radius
        border.width: control.prominent || control.plain ? 0 : 1
        border.color: Theme.line

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: control.prominent ? "#FFFFFF" : Theme.text
            opacity: control.down ? 0.18 : control.hovered ? 0.08 : 0

            Behavior on opacity {
                NumberAnimation {
                    duration: Theme.movement
                }
            }
        }
        FocusRing {
            shown: control.visualFocus
        }
    }
}
