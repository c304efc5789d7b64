pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The transcript, to read, correct and cut the video.
ColumnLayout {
    id: root

    required property AppModel app
    readonly property bool empty: app.transcript.count === 0
    property alias asList: remembered.transcriptAsList

    objectName: "textSection"
    spacing: Theme.space(3)

    function search() {
        if (!empty)
            tools.search()
    }
    function nextMatch(backwards: bool) {
        reader.nextMatch(backwards)
    }

    TranscriptCursor {
        id: reader

        model: root.app
    }
    Remembered {
        id: remembered

        category: "editor"
        property bool transcriptAsList: false
        property bool transcriptCutHidden: false
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
            enabled: root.app.hasProject && !root.app.recorder.isRecording
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
                text: Wording.here("La transcripción se procesa en tu Mac.")
                secondary: true
                wrapMode: Text.Wrap
            }
        }
    }
    Item {
        visible: root.empty
        Layout.fillHeight: true
    }

    TranscriptSearch {
        id: tools

        Layout.fillWidth: true
        visible: !root.empty
        cursor: reader
        onReturned: text.item.forceActiveFocus(Qt.OtherFocusReason)
        onMenuWanted: from => menu.popup(from, 0, from.height)
    }

    OButton {
        visible: !root.empty && reader.fillerCount > 0
        implicitHeight: 26
        text: "Quitar muletillas (" + reader.fillerCount + ")"
        font.pixelSize: Theme.captionSize
        focusPolicy: Qt.TabFocus
        onClicked: reader.cutFillers()
    }

    Loader {
        id: text

        Layout.fillWidth: true
        Layout.fillHeight: true
        visible: !root.empty
        active: visible
        sourceComponent: root.asList ? list : prose
    }
    Component {
        id: prose

        TranscriptProse {
            app: root.app
            cursor: reader
            cutHidden: remembered.transcriptCutHidden
            onShorteningWanted: pauses.open()
        }
    }
    Component {
        id: list

        TranscriptList {
            app: root.app
            cursor: reader
        }
    }

    OMenu {
        id: menu

        OMenuItem {
            text: "Acortar pausas…"
            iconName: "clock"
            onTriggered: pauses.open()
        }
        OMenuItem {
            text: "Reemplazar…"
            iconName: "type"
            onTriggered: {
                tools.replacing = true
                tools.search()
            }
        }
        OMenuSeparator {}
        OMenuItem {
            text: "Ocultar lo cortado"
            checkable: true
            checked: remembered.transcriptCutHidden
            enabled: !root.asList
            onTriggered: remembered.transcriptCutHidden = checked
        }
        OMenuItem {
            text: "Ver como lista"
            checkable: true
            checked: root.asList
            onTriggered: root.asList = checked
        }
    }
    PausesPanel {
        id: pauses

        parent: Overlay.overlay
        anchors.centerIn: parent
        cursor: reader
    }
}
