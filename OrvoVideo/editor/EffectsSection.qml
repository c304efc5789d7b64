pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Suggestions, cuts, pointer and zoom, camera, texts and images, video and voice, and export.
Flickable {
    id: root

    required property AppModel app

    /// Requests a zoom point at the playhead.
    signal zoomWanted()
    /// Requests framing of this zoom point.
    signal zoomFramed(id: string)

    function editOverlayText() {
        overlayText.forceActiveFocus(Qt.ShortcutFocusReason)
    }
    /// Scrolls to the card of a zoom point or an overlay and marks it. `kind` is "zoom" or "overlay".
    function showCard(kind: string, id: string) {
        zooms.currentIndex = overlays.currentIndex = -1
        const list = kind === "zoom" ? zooms : overlays
        const key = kind === "zoom" ? "eventId" : "overlayId"
        for (let row = 0; row < list.count; ++row) {
            if (list.model.get(row)[key] === id)
                list.currentIndex = row
        }
        wanted = list
        frames = 0
        Window.window?.update()
    }

    /// The list to scroll to, once the page is laid out.
    property OList wanted: null
    property int frames: 0

    Connections {
        target: root.Window.window
        enabled: root.wanted !== null

        function onAfterAnimating() {
            const list = root.wanted
            list.positionViewAtIndex(list.currentIndex, ListView.Contain)
            const top = list.mapToItem(root.contentItem, 0, 0).y - Theme.space(10)
            root.contentY = Math.min(Math.max(top, 0), Math.max(root.contentHeight - root.height, 0))
            if (++root.frames > 3)
                root.wanted = null
            else
                root.Window.window.update()
        }
    }

    contentHeight: column.implicitHeight + Theme.space(4)
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: OScrollBar {}

    component Heading: OCaption {
        Layout.fillWidth: true
        Layout.topMargin: Theme.space(3)
        Accessible.role: Accessible.Heading
    }
    component Separator: Rectangle {
        Layout.fillWidth: true
        Layout.topMargin: Theme.space(2)
        Layout.bottomMargin: Theme.space(1)
        implicitHeight: 1
        color: Theme.line
    }
    component EditToggle: OSwitch {
        required property string key

        Layout.fillWidth: true
        checked: root.app.project[key]
        onToggled: {
            root.app.editing.setFlag(key, checked)
            checked = Qt.binding(() => root.app.project[key])
        }
    }
    component EditSlider: OSlider {
        required property string key

        Layout.fillWidth: true
        value: root.app.project[key]
        onEdited: value => root.app.editing.setValue(key, value)
        onGesture: active => root.app.setGesture(active)
    }

    ColumnLayout {
        id: column

        width: root.width - Theme.space(3)
        spacing: Theme.space(2)

        OButton {
            Layout.fillWidth: true
            iconName: "wand-sparkles"
            text: "Buscar mejoras automáticas"
            onClicked: {
                root.app.findSuggestions()
                suggestions.asked = true
            }
        }
        SuggestionList {
            id: suggestions

            Layout.fillWidth: true
            app: root.app
        }

        Heading {
            text: "RECORTES"
        }
        OLabel {
            Layout.fillWidth: true
            visible: root.app.cuts.count === 0
            text: "Todavía no hay recortes."
            secondary: true
            font.pixelSize: Theme.captionSize
        }
        OList {
            id: cuts

            objectName: "cuts"
            Layout.fillWidth: true
            maximumHeight: 216
            name: "Recortes"
            model: root.app.cuts

            delegate: RowLayout {
                id: cut

                required property real start
                required property real end

                width: cuts.entryWidth
                height: 36
                spacing: Theme.space(1)
                Accessible.role: Accessible.ListItem
                Accessible.name: "Recorte de " + Wording.exactTime(start) + " a " + Wording.exactTime(end)

                OLabel {
                    Layout.fillWidth: true
                    text: Wording.exactTime(cut.start) + " → " + Wording.exactTime(cut.end)
                    font: Theme.digits(Theme.bodySize)
                }
                OButton {
                    leftPadding: Theme.space(2)
                    rightPadding: Theme.space(2)
                    plain: true
                    text: "Ver"
                    Accessible.description: "Ir al recorte de " + Wording.exactTime(cut.start)
                    onClicked: root.app.seek(cut.start)
                }
                OButton {
                    leftPadding: Theme.space(2)
                    rightPadding: Theme.space(2)
                    plain: true
                    text: "Restaurar"
                    Accessible.description: "El recorte de " + Wording.exactTime(cut.start)
                    onClicked: root.app.editing.restoreCut(cut.start, cut.end)
                }
            }
        }

        Heading {
            text: "CURSOR Y ZOOM"
        }
        EditToggle {
            text: "Resaltar puntero"
            key: "pointerHighlight"
        }
        EditToggle {
            text: "Halo al hacer clic"
            key: "clickHalo"
        }
        OButton {
            Layout.fillWidth: true
            iconName: "zoom-in"
            text: "Añadir zoom en este punto"
            onClicked: root.zoomWanted()
        }
        OList {
            id: zooms

            objectName: "zooms"
            Layout.fillWidth: true
            maximumHeight: 420
            name: "Zooms"
            currentIndex: -1
            spacing: Theme.space(2)
            model: root.app.zooms

            delegate: ZoomControls {
                width: zooms.entryWidth
                app: root.app
                marked: ListView.isCurrentItem
                onFrameWanted: root.zoomFramed(model.eventId)
            }
        }

        Separator {}
        EditToggle {
            text: "Mostrar cámara"
            key: "cameraVisible"
            enabled: root.app.project.hasCamera
        }
        OLabel {
            Layout.fillWidth: true
            visible: !root.app.project.hasCamera
            text: "Este vídeo no tiene cámara."
            secondary: true
            font.pixelSize: Theme.captionSize
        }
        EditSlider {
            visible: root.app.project.hasCamera
            label: "Tamaño"
            key: "cameraWidth"
            from: 0.05
            to: 1
            displayFactor: 100
            unitText: "%"
            enabled: root.app.project.cameraVisible
        }
        EditSlider {
            visible: root.app.project.hasCamera
            label: "Posición horizontal"
            key: "cameraX"
            displayFactor: 100
            unitText: "%"
            enabled: root.app.project.cameraVisible
        }
        EditSlider {
            visible: root.app.project.hasCamera
            label: "Posición vertical"
            key: "cameraY"
            displayFactor: 100
            unitText: "%"
            enabled: root.app.project.cameraVisible
        }

        Heading {
            text: "TEXTOS E IMÁGENES"
        }
        RowLayout {
            spacing: Theme.space(2)

            OTextField {
                id: overlayText

                function add() {
                    if (text === "")
                        return
                    root.app.addText(text)
                    text = ""
                }

                objectName: "overlayText"
                Layout.fillWidth: true
                placeholderText: "Texto en pantalla"
                onAccepted: add()
            }
            OIconButton {
                plain: false
                iconName: "plus"
                text: "Añadir texto"
                enabled: overlayText.text !== ""
                onClicked: overlayText.add()
            }
        }
        OButton {
            Layout.fillWidth: true
            iconName: "image"
            text: "Añadir imagen…"
            onClicked: root.app.addImage()
        }
        OList {
            id: overlays

            objectName: "overlays"
            Layout.fillWidth: true
            maximumHeight: 480
            name: "Textos e imágenes"
            currentIndex: -1
            spacing: Theme.space(2)
            model: root.app.overlays

            delegate: OverlayControls {
                width: overlays.entryWidth
                app: root.app
                marked: ListView.isCurrentItem
            }
        }

        Heading {
            text: "IMAGEN Y VOZ"
        }
        EditToggle {
            text: "Reducir ruido de micrófono"
            key: "noiseReduction"
        }
        EditToggle {
            text: "Normalizar voz"
            key: "normalizeVoice"
        }
        EditToggle {
            text: "Nitidez suave"
            key: "sharpen"
        }
        EditSlider {
            label: "Fundido entre cortes"
            key: "fade"
            to: 2
            unitText: "s"
        }
        OSegmented {
            readonly property var lengths: [0, 0.15, 0.5]
            readonly property int chosen: lengths.indexOf(Math.round(root.app.project.fade * 1000) / 1000)

            objectName: "fadeStops"
            Layout.fillWidth: true
            name: "Fundido entre cortes"
            model: ["Ninguno", "Suave", "Largo"]
            currentIndex: chosen
            onActivated: index => {
                root.app.editing.setValue("fade", lengths[index])
                currentIndex = Qt.binding(() => chosen)
            }
        }
        Repeater {
            model: root.app.tracks

            OSlider {
                required property string trackId
                required property string kind
                required property real volume
                required property var model

                Layout.fillWidth: true
                visible: kind !== "camera"
                label: "Volumen · " + model.label
                to: 2
                displayFactor: 100
                unitText: "%"
                value: volume
                onGesture: active => root.app.setGesture(active)
                onEdited: value => root.app.editing.setVolume(trackId, value)
            }
        }
        OLabel {
            Layout.fillWidth: true
            text: "La reducción de ruido, la normalización y la nitidez se aplican al exportar."
            secondary: true
            font.pixelSize: Theme.captionSize
            wrapMode: Text.Wrap
        }

        Separator {}
        GridLayout {
            columns: 2
            columnSpacing: Theme.space(3)
            rowSpacing: Theme.space(2)

            OLabel {
                text: "Compresión"
                secondary: true
            }
            OComboBox {
                readonly property var qualities: ["small", "balanced", "high"]

                objectName: "quality"
                Layout.fillWidth: true
                name: "Compresión"
                model: ["Menor peso", "Equilibrada", "Mayor calidad"]
                currentIndex: Math.max(qualities.indexOf(root.app.exportQuality), 0)
                onActivated: index => root.app.exportQuality = qualities[index]
            }
            OLabel {
                text: "Exportar hasta"
                secondary: true
            }
            OComboBox {
                readonly property var heights: [720, 1080, 1440, 2160]

                objectName: "height"
                Layout.fillWidth: true
                name: "Exportar hasta"
                model: ["720p", "1080p", "1440p", "4K"]
                currentIndex: heights.indexOf(root.app.options.height)
                onActivated: index => {
                    const options = root.app.options
                    options.height = heights[index]
                    root.app.options = options
                }
            }
            OLabel {
                text: "Subtítulos"
                secondary: true
            }
            OComboBox {
                readonly property var cues: ["words", "phrases", "none"]

                objectName: "subtitles"
                Layout.fillWidth: true
                name: "Subtítulos"
                model: ["Palabra a palabra", "Frases", "Ninguno"]
                currentIndex: cues.indexOf(root.app.exports.choice.subtitles)
                onActivated: index => root.app.exports.choice.subtitles = cues[index]
            }
        }
        OSwitch {
            objectName: "burnIn"
            Layout.fillWidth: true
            visible: root.app.exports.choice.subtitles !== "none"
            text: "Incrustados en la imagen"
            checked: root.app.exports.choice.burnIn
            onToggled: {
                root.app.exports.choice.burnIn = checked
                checked = Qt.binding(() => root.app.exports.choice.burnIn)
            }
        }
    }
}
