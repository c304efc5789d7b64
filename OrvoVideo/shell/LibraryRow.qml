import QtQuick
import QtQuick.Controls.Basic
import Orvo.Ui

/// One project of the library: its picture, title, length, date and, when it needs attention, its state.
ItemDelegate {
    id: root

    required property int index
    required property string projectId
    required property string title
    required property date createdAt
    required property real playableDuration
    required property real duration
    required property string state
    required property string stateText
    required property bool open
    required property ProjectThumbnails thumbnails
    property bool focused: false

    readonly property bool stateShown: state !== "ready"
    readonly property string details: (stateShown ? stateText : Theme.timeText(playableDuration)) + " · " + Wording.day(createdAt)

    signal chosen()

    function choose() {
        chosen()
    }

    height: 56
    padding: Theme.space(1.5)
    hoverEnabled: true
    focusPolicy: Qt.NoFocus
    onClicked: choose()
    Accessible.role: Accessible.ListItem
    Accessible.name: title
    Accessible.description: details
    Accessible.selected: open
    Accessible.onPressAction: choose()

    background: Rectangle {
        radius: Theme.radius
        color: root.open || root.hovered || root.down ? Theme.raised : "transparent"

        Rectangle {
            visible: root.open
            width: 3
            height: parent.height - Theme.space(4)
            anchors.verticalCenter: parent.verticalCenter
            radius: 2
            color: Theme.accentInk
        }
        Rectangle {
            anchors.fill: parent
            visible: root.focused
            radius: parent.radius
            color: "transparent"
            border.width: 2
            border.color: Theme.accentInk
        }
    }
    contentItem: Item {
        Rectangle {
            id: picture

            x: Theme.space(1)
            anchors.verticalCenter: parent.verticalCenter
            width: 70
            height: 40
            radius: 6
            color: Theme.window
            border.color: Theme.line

            OIcon {
                anchors.centerIn: parent
                visible: frame.status !== Image.Ready
                name: "film"
                color: Theme.secondaryText
            }
            Image {
                id: frame

                anchors.fill: parent
                anchors.margins: 1
                asynchronous: true
                fillMode: Image.PreserveAspectFit
                source: root.thumbnails.source(root.projectId, root.duration)
                Accessible.ignored: true
            }
        }
        Column {
            anchors.left: picture.right
            anchors.leftMargin: Theme.space(2.5)
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            spacing: 3

            OLabel {
                width: parent.width
                text: root.title
                elide: Text.ElideRight
                font.weight: root.open ? Font.DemiBold : Font.Medium
                Accessible.ignored: true
            }
            OLabel {
                width: parent.width
                secondary: !root.stateShown
                color: root.stateShown ? Theme.stateInk : Theme.secondaryText
                text: root.details
                font: Theme.digits(Theme.captionSize)
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }
    }
}
