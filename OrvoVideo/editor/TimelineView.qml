pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The timeline with its buttons, row names and selection fields.
ColumnLayout {
    id: root

    required property AppModel app
    readonly property alias canvas: canvas

    /// The user clicked a zoom point (`kind` "zoom") or an overlay ("overlay").
    signal cardWanted(kind: string, id: string)

    function counted(count: int, thing: string): string {
        return count + " " + thing + (count === 1 ? "" : "s")
    }
    function secondsText(seconds: real): string {
        return Number(seconds).toLocaleString(Qt.locale("es_ES"), "f", 1)
    }

    /// The height at which every row is visible.
    readonly property real wholeHeight: canvas.contentHeight + 104
    /// The height at which some rows are visible; the others scroll.
    readonly property real minHeight: 200

    spacing: Theme.space(2)

    component HeaderButton: OButton {
        focusPolicy: Qt.TabFocus
        enabled: root.app.hasProject
    }
    component HeaderIcon: OIconButton {
        focusPolicy: Qt.TabFocus
        enabled: root.app.hasProject
    }

    /// A text button that shrinks to an icon where there is no room.
    component FoldingButton: HeaderButton {
        id: folding

        required property string foldedIcon
        required property int command
        readonly property string shortcutText: Commands.keyText(command)

        text: Commands.title(command)
        folded: header.narrow
        iconName: folded ? foldedIcon : ""
        Accessible.description: shortcutText

        OTooltip {
            visible: folding.folded && (folding.hovered || folding.visualFocus)
            text: folding.text + "  (" + folding.shortcutText + ")"
        }
    }

    RowLayout {
        id: header

        // Below this width, buttons shrink to icons.
        readonly property bool narrow: root.width < 560

        Layout.fillWidth: true
        spacing: Theme.space(2)

        OCaption {
            visible: root.width >= 660
            text: "LÍNEA DE TIEMPO"
        }
        Item {
            Layout.fillWidth: true
        }
        HeaderIcon {
            visible: canvas.preparingCancelled && !canvas.preparing
            iconName: "refresh-cw"
            text: "Preparar las ondas de sonido"
            onClicked: canvas.resumePreparing()
        }
        FoldingButton {
            foldedIcon: "arrow-left-to-line"
            command: Commands.StartSelection
            onClicked: root.app.editing.startSelectionHere()
        }
        FoldingButton {
            foldedIcon: "arrow-right-to-line"
            command: Commands.EndSelection
            onClicked: root.app.editing.endSelectionHere()
        }
        FoldingButton {
            iconName: foldedIcon
            foldedIcon: "scissors"
            command: Commands.CutSelection
            // Uncommitted text in the fields counts too.
            enabled: root.app.hasProject && (root.app.selectedSpan.duration > 0.01 || start.typed || end.typed)
            onClicked: root.app.cutSelection()
        }
        RowLayout {
            spacing: 0

            HeaderIcon {
                iconName: "copy-plus"
                command: Commands.AppendVideo
                enabled: root.app.hasProject && !root.app.recorder.isRecording
                onClicked: root.app.importMedia(true)
            }
            HeaderIcon {
                iconName: "zoom-out"
                command: Commands.ZoomOut
                enabled: !canvas.fits
                onClicked: canvas.zoomBy(1 / 1.5)
            }
            HeaderIcon {
                iconName: "zoom-in"
                command: Commands.ZoomIn
                onClicked: canvas.zoomBy(1.5)
            }
            HeaderIcon {
                iconName: "maximize"
                command: Commands.ShowAll
                enabled: !canvas.fits
                onClicked: canvas.fit()
            }
        }
    }

    // The whole recording with the visible part: a drag moves it, a click centres it.
    TimelineOverview {
        id: overview

        objectName: "overview"
        Layout.fillWidth: true
        Layout.leftMargin: names.width
        Layout.rightMargin: Theme.space(3)
        Layout.preferredHeight: 24
        visible: !canvas.fits
        timeline: canvas
        Accessible.role: Accessible.ScrollBar
        Accessible.name: "Parte visible de la línea de tiempo"

        Rectangle {
            x: Math.min(canvas.shownPosition * parent.width, parent.width - width)
            width: Math.max(canvas.shownSize * parent.width, 8)
            height: parent.height
            radius: 5
            color: Qt.alpha(Theme.accent, part.pressed || part.containsMouse ? 0.24 : 0.14)
            border.width: 1.5
            border.color: Theme.accentInk
        }
        Rectangle {
            x: Math.round(root.app.playhead / Math.max(root.app.project.duration, 0.01) * parent.width)
            width: 1
            height: parent.height
            color: Theme.text
        }
        MouseArea {
            id: part

            property real grip: 0

            anchors.fill: parent
            hoverEnabled: true
            preventStealing: true
            cursorShape: pressed ? Qt.ClosedHandCursor : Qt.OpenHandCursor
            onPressed: mouse => {
                grip = mouse.x / width - canvas.shownPosition
                if (grip < 0 || grip > canvas.shownSize) {
                    grip = canvas.shownSize / 2
                    canvas.showFrom(mouse.x / width - grip)
                }
            }
            onPositionChanged: mouse => {
                if (pressed)
                    canvas.showFrom(mouse.x / width - grip)
            }
            onWheel: wheel => canvas.scrollBy(-(wheel.angleDelta.y || wheel.angleDelta.x))
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

            component LaneName: RowName {
                required property var laneTop

                visible: laneTop !== undefined
                y: laneTop ?? 0
                height: canvas.rows.lane
            }

            LaneName {
                laneTop: canvas.rows.zooms
                text: "Zooms"
            }
            LaneName {
                laneTop: canvas.rows.overlays
                text: "Textos"
            }
            LaneName {
                laneTop: canvas.rows.cuts
                text: "Cortes"
            }
            Repeater {
                model: root.app.tracks

                RowName {
                    required property int index
                    required property string label

                    y: canvas.rows.tracks[index] ?? 0
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
                onCardWanted: (kind, id) => root.cardWanted(kind, id)
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
                    anchors.margins: 0 // Outside the edges it would be clipped.
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

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.space(2)

        OLabel {
            text: "Inicio"
            secondary: true
        }
        ONumberField {
            id: start

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
            id: end

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
            wrapMode: Text.Wrap
            font: Theme.digits(Theme.captionSize)
            text: root.secondsText(root.app.project.duration) + " segundos · " + root.counted(root.app.cuts.count, "corte")
                + " · " + root.counted(root.app.zooms.count, "zoom")
        }
    }
}
