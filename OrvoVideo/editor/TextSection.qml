pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The transcript: read it, correct it, and cut the video with it.
ColumnLayout {
    id: root

    required property AppModel app
    readonly property bool empty: app.transcript.count === 0

    spacing: Theme.space(3)

    TranscriptCursor {
        id: reader

        model: root.app
        onSpokenRowChanged: {
            // Whoever reads elsewhere, or types, is left there.
            if (root.app.playing && !words.moving && !words.editing && spokenRow >= 0)
                words.positionViewAtIndex(spokenRow, ListView.Contain)
        }
        onMatchChanged: {
            if (matchRow >= 0)
                words.positionViewAtIndex(matchRow, ListView.Contain)
        }
    }

    OLabel {
        Layout.fillWidth: true
        text: "Tu vídeo, en palabras"
        font.pixelSize: Theme.titleSize
        font.weight: Font.Bold
        wrapMode: Text.Wrap
        Accessible.role: Accessible.Heading
    }
    RowLayout {
        spacing: Theme.space(2)

        OLabel {
            text: "Idioma"
            secondary: true
        }
        OComboBox {
            Layout.fillWidth: true
            Layout.maximumWidth: 150
            name: "Idioma"
            textRole: "text"
            valueRole: "value"
            model: [{
                    "text": "Español",
                    "value": "es-ES"
                }, {
                    "text": "English",
                    "value": "en-US"
                }]
            currentIndex: root.app.transcription.language === "en-US" ? 1 : 0
            onActivated: root.app.transcription.language = currentValue
        }
        OButton {
            objectName: "transcribe"
            text: "Transcribir"
            prominent: root.empty
            enabled: root.app.hasProject && root.app.idle
            onClicked: root.app.transcribe()
        }
    }
    OLabel {
        Layout.fillWidth: true
        text: "Corrige el texto para ajustar los subtítulos. Pulsa un tiempo para saltar al vídeo o usa las tijeras para quitar ese fragmento."
        secondary: true
        font.pixelSize: Theme.captionSize
        wrapMode: Text.Wrap
    }

    OPanel {
        Layout.fillWidth: true
        visible: root.empty
        padding: Theme.space(6)

        contentItem: ColumnLayout {
            spacing: Theme.space(3)

            OIcon {
                Layout.alignment: Qt.AlignHCenter
                name: "message-square-text"
                size: 28
                color: Theme.secondaryText
            }
            OLabel {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: "La transcripción se procesa en tu Mac."
                secondary: true
                wrapMode: Text.Wrap
            }
        }
    }
    Item {
        visible: root.empty
        Layout.fillHeight: true
    }

    RowLayout {
        visible: !root.empty
        spacing: Theme.space(1)

        OTextField {
            id: search

            objectName: "search"
            Layout.fillWidth: true
            placeholderText: "Buscar en el texto"
            onTextChanged: reader.query = text
            onAccepted: reader.nextMatch(false)
        }
        OLabel {
            visible: reader.query !== ""
            text: reader.matchCount === 0 ? "Nada" : reader.matchCount
            secondary: true
            font: Theme.digits(Theme.captionSize)
            Accessible.name: reader.matchCount + " coincidencias"
        }
        OIconButton {
            iconName: "chevron-up"
            text: "Coincidencia anterior"
            enabled: reader.matchCount > 0
            onClicked: reader.nextMatch(true)
        }
        OIconButton {
            iconName: "chevron-down"
            text: "Coincidencia siguiente"
            shortcutText: "Intro"
            enabled: reader.matchCount > 0
            onClicked: reader.nextMatch(false)
        }
    }

    ListView {
        id: words

        property bool editing: false

        objectName: "words"
        visible: !root.empty
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
            const from = currentIndex >= 0 ? currentIndex : Math.max(reader.spokenRow, 0)
            switch (event.key) {
            case Qt.Key_Up:
            case Qt.Key_Down:
                currentIndex = Math.min(Math.max(from + (event.key === Qt.Key_Up ? -1 : 1), 0), count - 1)
                reader.mark(currentIndex, shift)
                positionViewAtIndex(currentIndex, ListView.Contain)
                break
            case Qt.Key_Delete:
                reader.toggleMarked()
                break
            case Qt.Key_Escape:
                reader.unmark()
                break
            default:
                return
            }
            event.accepted = true
        }

        delegate: WordEntry {
            width: ListView.view.width - Theme.space(3)
            app: root.app
            cursor: reader
            onEditingChanged: words.editing = editing
            onMarked: extend => {
                words.forceActiveFocus(Qt.MouseFocusReason)
                words.currentIndex = index
                reader.mark(index, extend)
            }
        }
    }

    RowLayout {
        visible: reader.markedCount > 1
        spacing: Theme.space(2)

        OLabel {
            Layout.fillWidth: true
            text: reader.markedCount + " fragmentos"
            secondary: true
        }
        OButton {
            iconName: reader.markedIsCut ? "rotate-ccw" : "scissors"
            text: reader.markedIsCut ? "Restaurar" : "Cortar"
            onClicked: reader.toggleMarked()
        }
    }
}
