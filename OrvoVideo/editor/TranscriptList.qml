pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The transcript as a list, one word per row.
ColumnLayout {
    id: root

    required property AppModel app
    required property TranscriptCursor cursor

    spacing: Theme.space(3)

    Connections {
        target: root.cursor

        function onSpokenRowChanged() {
            // Does not scroll away while the user scrolls or types.
            if (root.app.playing && !words.moving && !words.editing && root.cursor.spokenRow >= 0)
                words.positionViewAtIndex(root.cursor.spokenRow, ListView.Contain)
        }
        function onMatchChanged() {
            if (root.cursor.matchRow >= 0)
                words.positionViewAtIndex(root.cursor.matchRow, ListView.Contain)
        }
    }

    ListView {
        id: words

        property bool editing: false

        objectName: "words"
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        reuseItems: true
        activeFocusOnTab: true
        boundsBehavior: Flickable.StopAtBounds
        model: root.app.transcript
        currentIndex: -1
        ScrollBar.vertical: OScrollBar {}
        Accessible.role: Accessible.List
        Accessible.name: "Transcripción"

        Keys.onPressed: event => {
            const shift = (event.modifiers & Qt.ShiftModifier) !== 0
            const from = currentIndex >= 0 ? currentIndex : Math.max(root.cursor.spokenRow, 0)
            switch (event.key) {
            case Qt.Key_Up:
            case Qt.Key_Down:
                currentIndex = Math.min(Math.max(from + (event.key === Qt.Key_Up ? -1 : 1), 0), count - 1)
                root.cursor.mark(currentIndex, shift)
                positionViewAtIndex(currentIndex, ListView.Contain)
                break
            case Qt.Key_Delete:
                root.cursor.toggleTarget()
                break
            case Qt.Key_Escape:
                root.cursor.unmark()
                break
            default:
                return
            }
            event.accepted = true
        }

        delegate: WordEntry {
            width: ListView.view.width - Theme.space(3)
            app: root.app
            cursor: root.cursor
            onEditingChanged: words.editing = editing
            onMarked: extend => {
                words.forceActiveFocus(Qt.MouseFocusReason)
                words.currentIndex = index
                root.cursor.mark(index, extend)
            }
        }
    }

    RowLayout {
        visible: root.cursor.markedCount > 1
        spacing: Theme.space(2)

        OLabel {
            Layout.fillWidth: true
            text: root.cursor.markedCount + " fragmentos"
            secondary: true
        }
        OButton {
            iconName: root.cursor.targetIsCut ? "rotate-ccw" : "scissors"
            text: root.cursor.targetIsCut ? "Restaurar" : "Cortar"
            onClicked: root.cursor.toggleTarget()
        }
    }
}
