pragma ComponentBehavior: Bound

import QtQuick
import Orvo.Ui

/// Buttons that act on the marked words or on the word at the caret.
FocusScope {
    id: root

    required property TranscriptCursor cursor

    signal sought()
    signal editWanted()

    implicitWidth: row.implicitWidth + 8
    implicitHeight: 32

    component Tool: OButton {
        plain: true
        height: 26
        implicitHeight: 26
        leftPadding: Theme.space(1.5)
        rightPadding: Theme.space(1.5)
        spacing: Theme.space(1)
        font.pixelSize: Theme.captionSize
        focusPolicy: Qt.TabFocus
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: Theme.panel
        border.color: Theme.edge
    }
    Row {
        id: row

        anchors.centerIn: parent

        Tool {
            text: Wording.time(root.cursor.targetStart)
            font: Theme.digits(Theme.captionSize)
            Accessible.description: "Ir a este momento"
            onClicked: root.sought()
        }
        Tool {
            iconName: root.cursor.targetIsCut ? "rotate-ccw" : "scissors"
            text: root.cursor.targetIsCut ? "Restaurar" : Commands.title(Commands.ToggleWords)
            Accessible.description: root.cursor.targetIsCut ? "Restaurar este fragmento del vídeo" : "Eliminar este fragmento del vídeo"
            onClicked: root.cursor.toggleTarget()

            OTooltip {
                visible: parent.hovered || parent.visualFocus
                text: parent.Accessible.description + "  (" + Commands.keyText(Commands.ToggleWords) + ")"
            }
        }
        Tool {
            text: Commands.title(Commands.CorrectWord)
            Accessible.description: Commands.keyText(Commands.CorrectWord)
            onClicked: root.editWanted()
        }
        Tool {
            text: "Oír"
            onClicked: root.cursor.hear()
        }
    }
}
