pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Orvo.Ui

/// A project of the library: its thumbnail, title, length, date and size and, when it needs attention, its state. A failed
/// import shows its reason and can be removed.
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
    required property real bytes
    required property string failure
    required property ProjectThumbnails thumbnails
    property bool focused: false
    /// Whether the row is part of a multiple selection.
    property bool marked: false
    property bool renaming: false

    readonly property bool failed: state === "import-failed" && failure !== ""
    readonly property bool importing: state === "import-failed" && failure === ""
    readonly property bool stateShown: state !== "ready" && !importing
    readonly property string details: {
        if (failed)
            return stateText + ": " + failure
        if (importing)
            return "Importando…"
        const size = bytes > 0 && !stateShown ? " · " + Wording.size(bytes) : ""
        return (stateShown ? stateText : Wording.time(playableDuration)) + " · " + Wording.day(createdAt) + size
    }

    /// Clicked without a modifier, with Ctrl, with Shift, or with the right button.
    signal chosen()
    signal markWanted()
    signal extended()
    signal menuWanted()
    signal removeWanted()
    /// A new title was entered; empty if the user cancelled.
    signal renamed(text: string)

    function choose() {
        if (!failed && !importing)
            chosen()
    }

    height: 56
    padding: Theme.space(1.5)
    hoverEnabled: true
    focusPolicy: Qt.NoFocus
    Accessible.role: Accessible.ListItem
    Accessible.name: title
    Accessible.description: details
    Accessible.selected: open || marked
    Accessible.onPressAction: choose()

    background: Rectangle {
        radius: Theme.radius
        color: root.marked ? Theme.selection : root.open || root.hovered ? Theme.raised : "transparent"

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
        MouseArea {
            anchors.fill: parent
            anchors.margins: -root.padding
            acceptedButtons: Qt.LeftButton | Qt.RightButton
            onClicked: mouse => {
                if (mouse.button === Qt.RightButton)
                    root.menuWanted()
                else if (mouse.modifiers & Qt.ControlModifier)
                    root.markWanted()
                else if (mouse.modifiers & Qt.ShiftModifier)
                    root.extended()
                else
                    root.choose()
            }
        }
        Rectangle {
            id: thumbnail

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
                name: root.failed ? "triangle-alert" : "film"
                color: root.failed ? Theme.stateInk : Theme.secondaryText
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
            anchors.left: thumbnail.right
            anchors.leftMargin: Theme.space(2.5)
            anchors.right: remove.visible ? remove.left : parent.right
            anchors.verticalCenter: parent.verticalCenter
            spacing: 3

            OLabel {
                width: parent.width
                visible: !root.renaming
                text: root.title
                elide: Text.ElideRight
                font.weight: root.open ? Font.DemiBold : Font.Medium
                Accessible.ignored: true
            }
            Loader {
                width: parent.width
                active: root.renaming
                visible: active
                sourceComponent: OTextField {
                    property bool given: false

                    function give(text: string) {
                        if (!given) {
                            given = true
                            root.renamed(text)
                        }
                    }

                    implicitHeight: 26
                    name: "Título nuevo"
                    text: root.title
                    onAccepted: give(text)
                    onGivenUp: give("")
                    onActiveFocusChanged: {
                        if (!activeFocus)
                            give(text)
                    }
                    Component.onCompleted: {
                        forceActiveFocus()
                        selectAll()
                    }
                }
            }
            OLabel {
                width: parent.width
                visible: !root.renaming
                secondary: !root.stateShown
                color: root.stateShown ? Theme.stateInk : Theme.secondaryText
                text: root.details
                font: Theme.digits(Theme.captionSize)
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }
        OIconButton {
            id: remove

            visible: root.failed
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            iconName: "x"
            text: "Quitar"
            onClicked: root.removeWanted()
        }
    }
    OTooltip {
        visible: root.failed && root.hovered && !remove.hovered
        text: root.details
    }
}
