pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Orvo.Ui

/// Finds and replaces text in the transcript; holds the button of the menu that acts on the whole transcript.
ColumnLayout {
    id: root

    required property TranscriptCursor cursor
    property bool replacing: false

    /// The user pressed Escape; the focus returns to the text.
    signal returned()
    signal menuWanted(from: Item)

    function search() {
        field.forceActiveFocus(Qt.ShortcutFocusReason)
        field.selectAll()
    }

    spacing: Theme.space(1)

    Connections {
        target: root.cursor

        function onQueryChanged() {
            if (field.text !== root.cursor.query)
                field.text = root.cursor.query
        }
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.space(1)

        OTextField {
            id: field

            objectName: "search"
            Layout.fillWidth: true
            placeholderText: "Buscar en el texto"
            rightPadding: count.visible ? count.width + Theme.space(4) : leftPadding
            onTextChanged: root.cursor.query = text
            onAccepted: root.cursor.nextMatch(false)
            onGivenUp: {
                text = ""
                root.replacing = false
                root.returned()
            }

            OLabel {
                id: count

                anchors.right: parent.right
                anchors.rightMargin: Theme.space(2)
                anchors.verticalCenter: parent.verticalCenter
                visible: root.cursor.query !== ""
                text: root.cursor.matchCount === 0 ? "Nada" : root.cursor.matchNumber + " de " + root.cursor.matchCount
                secondary: true
                font: Theme.digits(Theme.captionSize)
                Accessible.name: root.cursor.matchCount === 1 ? "1 coincidencia" : root.cursor.matchCount + " coincidencias"
            }
        }
        OIconButton {
            iconName: "chevron-up"
            command: Commands.PreviousMatch
            enabled: root.cursor.matchCount > 0
            onClicked: root.cursor.nextMatch(true)
        }
        OIconButton {
            iconName: "chevron-down"
            command: Commands.NextMatch
            enabled: root.cursor.matchCount > 0
            onClicked: root.cursor.nextMatch(false)
        }
        OIconButton {
            id: more

            objectName: "textMenu"
            iconName: "ellipsis"
            text: "Más sobre el texto"
            onClicked: root.menuWanted(more)
        }
    }
    RowLayout {
        Layout.fillWidth: true
        visible: root.replacing
        spacing: Theme.space(1)

        OTextField {
            id: replacement

            objectName: "replacement"
            Layout.fillWidth: true
            Layout.minimumWidth: 60
            placeholderText: "Reemplazar por"
            onAccepted: root.cursor.replaceMatch(text)
            onGivenUp: {
                root.replacing = false
                root.returned()
            }
        }
        OButton {
            text: "Uno"
            Accessible.name: "Reemplazar esta coincidencia"
            enabled: root.cursor.matchCount > 0 && replacement.text.trim() !== ""
            onClicked: root.cursor.replaceMatch(replacement.text)
        }
        OButton {
            text: "Todo"
            Accessible.name: "Reemplazar todas las coincidencias"
            enabled: root.cursor.matchCount > 0 && replacement.text.trim() !== ""
            onClicked: root.cursor.replaceAll(replacement.text)
        }
    }
}
