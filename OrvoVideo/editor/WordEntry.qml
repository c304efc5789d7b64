pragma ComponentBehavior: Bound

import QtQuick
import Orvo.Model
import Orvo.Ui

/// One word of the transcript, with the pause before it.
Item {
    id: root

    required property AppModel app
    required property TranscriptCursor cursor

    required property int index
    required property string wordId
    required property string text
    required property real start
    required property real end
    required property bool cut
    required property bool filler
    required property real gap
    /// Whether the silence before the word is long enough to count as a pause.
    readonly property bool pauses: gap >= 0.3

    readonly property bool spoken: index === cursor.spokenRow && app.playhead < end
    readonly property bool chosen: index >= cursor.firstMarked && index <= cursor.lastMarked && cursor.markedCount > 0
    readonly property alias editing: field.activeFocus

    /// Marking several words ends editing.
    readonly property bool several: cursor.markedCount > 1
    onSeveralChanged: {
        if (several)
            field.focus = false
    }

    signal marked(bool extend)

    height: (pauses ? 22 : 0) + 34
    Accessible.role: Accessible.ListItem
    Accessible.name: text + (cut ? ", cortado" : "") + (filler ? ", muletilla" : "")
    Accessible.selected: chosen

    OLabel {
        visible: root.pauses
        x: Theme.space(14)
        height: 22
        verticalAlignment: Text.AlignVCenter
        text: "pausa de " + Number(root.gap).toLocaleString(Qt.locale("es_ES"), "f", 1) + " s"
        secondary: true
        font.pixelSize: Theme.captionSize
    }
    Rectangle {
        id: line

        y: parent.height - height
        width: parent.width
        height: 32
        radius: Theme.radius
        color: root.chosen ? Theme.selection : root.spoken ? Theme.raised : "transparent"
        border.width: root.index === root.cursor.matchRow ? 1.5 : 0
        border.color: Theme.accentInk

        Rectangle {
            visible: root.spoken
            width: 3
            height: parent.height - 12
            y: 6
            radius: 1.5
            color: Theme.accentInk
        }
        MouseArea {
            anchors.fill: parent
            onPressed: mouse => root.marked((mouse.modifiers & Qt.ShiftModifier) !== 0)
        }
        OButton {
            id: time

            x: Theme.space(1)
            width: Theme.space(13)
            height: parent.height
            plain: true
            leftPadding: 0
            rightPadding: 0
            text: Wording.time(root.start)
            font: Theme.digits(Theme.captionSize)
            focusPolicy: Qt.TabFocus
            Accessible.description: "Ir a este momento"
            onClicked: root.app.seek(root.start)
        }
        OEntry {
            id: field

            anchors.left: time.right
            anchors.right: scissors.left
            height: parent.height
            plain: true
            name: "Fragmento"
            shown: root.text
            color: root.cut ? Theme.secondaryText : Theme.text
            font.strikeout: root.cut
            onPressed: root.cursor.mark(root.index, false)
            onCommitted: text => root.app.editing.correctWord(root.wordId, text)

            Rectangle {
                visible: root.filler
                x: field.leftPadding
                y: parent.height - 7
                width: Math.min(field.contentWidth, field.availableWidth)
                height: 2
                radius: 1
                color: Theme.cutEdge
            }
        }
        MouseArea {
            anchors.fill: field
            cursorShape: Qt.IBeamCursor
            onPressed: mouse => {
                if (mouse.modifiers & Qt.ShiftModifier)
                    root.marked(true)
                else
                    mouse.accepted = false
            }
        }
        OIconButton {
            id: scissors

            anchors.right: parent.right
            iconName: root.cut ? "rotate-ccw" : "scissors"
            text: root.cut ? "Restaurar este fragmento del vídeo" : "Eliminar este fragmento del vídeo"
            focusPolicy: Qt.TabFocus
            onClicked: {
                if (root.cut) {
                    root.cursor.mark(root.index, false)
                    root.cursor.restoreTarget()
                } else {
                    root.app.editing.cutWord(root.wordId)
                }
            }
        }
    }
}
