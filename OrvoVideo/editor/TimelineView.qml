pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The timeline with its buttons, the names of its rows and the numbers of the selection.
ColumnLayout {
    id: root

    required property AppModel app
    readonly property alias canvas: canvas

    function secondsText(seconds: real): string {
        return Number(seconds).toLocaleString(Qt.locale("es_ES"), "f", 1)
    }

    /// With every row in sight.
    readonly property real wholeHeight: canvas.contentHeight + 104

    spacing: Theme.space(2)

    component HeaderButton: OButton {
        focusPolicy: Qt.TabFocus
        enabled: root.app.hasProject
    }
    component HeaderIcon: OIconButton {
        focusPolicy: Qt.TabFocus
        enabled: root.app.hasProject
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.space(2)

        OCaption {
            Layout.fillWidth: true
            Layout.minimumWidth: 0
            text: "LÍNEA DE TIEMPO"
            elide: Text.ElideRight
        }
        HeaderIcon {
            visible: canvas.preparingCancelled && !canvas.preparing
            iconName: "refresh-cw"
            text: "Preparar las ondas de sonido"
            onClicked: canvas.resumePreparing()
        }
        HeaderButton {
            text: "Inicio aquí"
            onClicked: root.app.startSelectionHere()
        }
        HeaderButton {
            text: "Final aquí"
            onClicked: root.app.endSelectionHere()
        }
        HeaderButton {
            iconName: "scissors"
            text: "Cortar selección"
            enabled: root.app.hasProject && root.app.selectedSpan.duration > 0.01
            onClicked: root.app.cutSelection()
        }
        RowLayout {
            spacing: 0

            HeaderIcon {
                iconName: "copy-plus"
                text: "Importar un vídeo al final"
                enabled: root.app.hasProject && root.app.idle
                onClicked: root.app.importMedia(true)
            }
            HeaderIcon {
                iconName: "zoom-out"
                text: "Reducir"
                shortcutText: "−"
                enabled: !canvas.fits
                onClicked: canvas.zoomBy(1 / 1.5)
            }
            HeaderIcon {
                iconName: "zoom-in"
                text: "Ampliar"
                shortcutText: "+"
                onClicked: canvas.zoomBy(1.5)
            }
            HeaderIcon {
                iconName: "maximize"
                text: "Ver todo"
                shortcutText: "0"
                enabled: !canvas.fits
                onClicked: canvas.fit()
            }
        }
    }

    Flickable {
        id: rows

        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.minimumHeight: 90
        contentHeight: canvas.height
        interactive: false
        clip: true
        ScrollBar.vertical: OScrollBar {}

        Item {
            id: names

            width: 84
            height: canvas.height

            component RowName: OLabel {
                x: 0
                width: names.width - Theme.space(2)
                secondary: true
                font.pixelSize: Theme.captionSize
                elide: Text.ElideRight
                verticalAlignment: Text.AlignVCenter
            }

            RowName {
                y: canvas.rows.zooms
                height: canvas.rows.lane
                text: "Zooms"
            }
            RowName {
                y: canvas.rows.overlays
                height: canvas.rows.lane
                text: "Textos"
            }
            RowName {
                y: canvas.rows.cuts
                height: canvas.rows.lane
                text: "Cortes"
            }
            Repeater {
                model: root.app.tracks

                RowName {
                    required property int index
                    required property string label

                    y: canvas.rows.tracks + index * canvas.rows.pitch
                    height: canvas.rows.track
                    text: label
                }
            }
        }

        Item {
            x: names.width
            width: rows.width - names.width - Theme.space(3)
            height: canvas.height

            TimelineCanvas {
                id: canvas

                objectName: "timeline"
                width: parent.width
                height: Math.max(contentHeight, rows.height)
                model: root.app
                font: Theme.digits(Theme.captionSize)
                colors: ({
                        "window": Theme.window,
                        "panel": Theme.panel,
                        "raised": Theme.raised,
                        "line": Theme.line,
                        "text": Theme.text,
                        "secondaryText": Theme.secondaryText,
                        "accent": Theme.accent,
                        "onAccent": Theme.inkOnAccent,
                        "accentInk": Theme.accentInk,
                        "selection": Theme.selection,
                        "selectionEdge": Theme.selectionEdge,
                        "cut": Theme.cut,
                        "cutEdge": Theme.cutEdge
                    })
                onSpoke: text => Accessible.announce(text)

                Accessible.role: Accessible.Slider
                Accessible.name: "Línea de tiempo"
                Accessible.description: spokenPosition
                Accessible.focusable: true
                Accessible.onIncreaseAction: goToEdge(true)
                Accessible.onDecreaseAction: goToEdge(false)

                PinchHandler {
                    target: null
                    onScaleChanged: delta => canvas.zoomBy(delta, centroid.position.x)
                }
                FocusRing {
                    shown: canvas.visualFocus
                    anchors.margins: 0 // Beyond the edges it could not be seen.
                }
            }
            Rectangle {
                visible: canvas.snapX >= 0
                x: canvas.snapX
                width: 1
                height: parent.height
                color: Theme.accentInk
            }
            Item {
                objectName: "playhead"
                visible: root.app.hasProject && x >= -1 && x <= parent.width + 1
                x: Math.round(canvas.playheadX)
                height: canvas.contentHeight

                Rectangle {
                    x: -1
                    y: 14
                    width: 2
                    height: parent.height - 14
                    color: Theme.text
                }
                Rectangle {
                    x: -6
                    y: 8
                    width: 12
                    height: 12
                    radius: 3
                    rotation: 45
                    color: Theme.text
                }
            }
        }
    }

    OScrollBar {
        Layout.fillWidth: true
        Layout.leftMargin: names.width
        Layout.rightMargin: Theme.space(3)
        visible: !canvas.fits
        orientation: Qt.Horizontal
        policy: ScrollBar.AlwaysOn
        size: canvas.shownSize
        position: canvas.shownPosition
        Accessible.name: "Parte visible de la línea de tiempo"
        onPositionChanged: {
            if (pressed)
                canvas.showFrom(position)
        }
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.space(2)

        OLabel {
            text: "Inicio"
            secondary: true
        }
        ONumberField {
            objectName: "selectionStart"
            name: "Inicio"
            enabled: root.app.hasProject
            value: root.app.selectedSpan.start
            to: root.app.project.duration
            onEdited: value => {
                const span = root.app.selectedSpan
                span.start = value
                root.app.selectedSpan = span
            }
        }
        OLabel {
            text: "Final"
            secondary: true
        }
        ONumberField {
            objectName: "selectionEnd"
            name: "Final"
            enabled: root.app.hasProject
            value: root.app.selectedSpan.end
            to: root.app.project.duration
            onEdited: value => {
                const span = root.app.selectedSpan
                span.end = value
                root.app.selectedSpan = span
            }
        }
        OLabel {
            objectName: "summary"
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignRight
            secondary: true
            elide: Text.ElideRight
            font: Theme.digits(Theme.captionSize)
            text: root.secondsText(root.app.project.duration) + " segundos · " + root.app.cuts.count + " cortes · "
                + root.app.zooms.count + " zooms"
        }
    }
}
