import QtQuick
import QtQuick.Layouts
import Orvo.Ui

/// An item of the equipment: its state, advice, and a button.
ColumnLayout {
    id: root

    property string title: ""
    /// "good", "limited" or "missing".
    property string itemState: "good"
    property string text: ""
    property string advice: ""
    /// A command that the user can copy; empty if none.
    property string command: ""
    property string buttonText: ""
    property string buttonIcon: ""
    property bool buttonEnabled: true
    default property alias extra: extraRow.data

    signal activated()
    signal copied()

    spacing: Theme.space(1)
    Accessible.role: Accessible.Grouping
    Accessible.name: title + ": " + (itemState === "good" ? "bien" : itemState === "limited" ? "aviso" : "falta")

    RowLayout {
        spacing: Theme.space(3)

        OIcon {
            Layout.alignment: Qt.AlignTop
            Layout.topMargin: 2
            name: root.itemState === "good" ? "circle-check" : root.itemState === "limited" ? "info" : "circle-alert"
            size: Theme.largeIconSize
            color: root.itemState === "good" ? Theme.goodInk : root.itemState === "limited" ? Theme.stateInk : Theme.danger
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2

            OLabel {
                text: root.title
                font.weight: Font.DemiBold
            }
            OLabel {
                Layout.fillWidth: true
                text: root.text
                wrapMode: Text.Wrap
            }
            OLabel {
                Layout.fillWidth: true
                visible: text !== ""
                secondary: true
                text: root.advice
                font.pixelSize: Theme.captionSize
                wrapMode: Text.Wrap
            }
            RowLayout {
                id: extraRow

                visible: children.length > 0
                spacing: Theme.space(2)
            }
        }
        OButton {
            Layout.alignment: Qt.AlignTop
            visible: root.buttonText !== ""
            enabled: root.buttonEnabled
            text: root.buttonText
            iconName: root.buttonIcon
            onClicked: root.activated()
        }
    }
    RowLayout {
        Layout.leftMargin: Theme.largeIconSize + Theme.space(3)
        visible: root.command !== ""
        spacing: Theme.space(2)

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: Theme.controlHeight
            radius: Theme.radius
            color: Theme.raised
            border.color: Theme.line

            TextInput {
                objectName: "command"
                anchors.fill: parent
                anchors.leftMargin: Theme.space(3)
                anchors.rightMargin: Theme.space(3)
                verticalAlignment: TextInput.AlignVCenter
                readOnly: true
                selectByMouse: true
                clip: true
                text: root.command
                color: Theme.text
                selectionColor: Theme.accent
                selectedTextColor: Theme.inkOnAccent
                font.family: "monospace"
                font.pixelSize: Theme.captionSize
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
        OButton {
            text: "Copiar orden"
            iconName: "copy"
            onClicked: root.copied()
        }
    }
}
