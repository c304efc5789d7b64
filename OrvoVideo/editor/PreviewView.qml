pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Preview
import Orvo.Ui

/// The preview, with everything that an export burns in, and the playback controls.
ColumnLayout {
    id: root

    required property AppModel app
    required property EditorCommands commands
    /// Identifier of the zoom point being framed; empty for none.
    property alias framedZoom: previewScene.framedZoom

    spacing: Theme.space(2)

    PreviewScene {
        id: previewScene

        model: root.app
        viewSize: Qt.size(stage.width, stage.height)
    }

    Rectangle {
        id: stage

        Layout.fillWidth: true
        Layout.fillHeight: true
        color: "#000000"
        radius: Theme.radius
        clip: true
        Accessible.role: Accessible.Graphic
        Accessible.name: "Vista previa"
        Accessible.description: Wording.time(root.app.playhead)

        TapHandler {
            onTapped: {
                stage.forceActiveFocus(Qt.MouseFocusReason)
                previewScene.framedZoom = ""
            }
        }

        Item {
            id: frame

            x: previewScene.frame.x
            y: previewScene.frame.y
            width: previewScene.frame.width
            height: previewScene.frame.height
            clip: true

            Item {
                id: magnified

                x: -previewScene.zoomOffset.x * previewScene.zoomScale
                y: -previewScene.zoomOffset.y * previewScene.zoomScale
                width: frame.width
                height: frame.height
                scale: previewScene.zoomScale
                transformOrigin: Item.TopLeft

                PreviewItem {
                    objectName: "screen"
                    anchors.fill: parent
                    player: root.app.player
                    magnification: previewScene.zoomScale
                }
                Rectangle {
                    anchors.fill: parent
                    visible: opacity > 0
                    opacity: previewScene.clipDip
                    color: "#000000"
                }
                PointerMark {
                    shape: PointerMark.Highlight
                    visible: previewScene.pointerShown && root.app.project.pointerHighlight
                    pixel: previewScene.pixel
                    x: previewScene.pointer.x - origin.x
                    y: previewScene.pointer.y - origin.y
                }
                PointerMark {
                    shape: PointerMark.Arrow
                    objectName: "pointer"
                    visible: previewScene.pointerShown
                    pixel: previewScene.pixel
                    x: previewScene.pointer.x - origin.x
                    y: previewScene.pointer.y - origin.y
                }
                Repeater {
                    model: previewScene.halos

                    PointerMark {
                        required property var modelData

                        shape: PointerMark.Halo
                        pixel: previewScene.pixel
                        progress: modelData.progress
                        x: modelData.x - origin.x
                        y: modelData.y - origin.y
                    }
                }
                Repeater {
                    model: root.app.overlays

                    PreviewOverlay {
                        app: root.app
                        scene: previewScene
                    }
                }
            }
            CameraFrame {
                app: root.app
                scene: previewScene
            }
            ZoomFrame {
                anchors.fill: parent
                app: root.app
                scene: previewScene
            }
            // Fades of the whole film.
            Rectangle {
                objectName: "dip"
                anchors.fill: parent
                visible: opacity > 0
                opacity: previewScene.framing ? 0 : previewScene.dip
                color: "#000000"
            }
        }

        OLabel {
            anchors.centerIn: parent
            width: Math.min(implicitWidth, parent.width - Theme.space(8))
            visible: text !== ""
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            color: "#F3F0FA"
            text: {
                if (previewScene.failed)
                    return "Usa Recuperar para preparar este archivo antes de reproducirlo."
                return previewScene.loading && slow.done ? "Abriendo el vídeo…" : ""
            }
        }
        // Shows no progress for media that open at once.
        Timer {
            id: slow

            property bool done: false

            interval: 300
            running: previewScene.loading
            onRunningChanged: done = false
            onTriggered: done = true
        }
    }

    DryCutsOffer {
        Layout.fillWidth: true
        app: root.app
    }
    RowLayout {
        objectName: "recovery"
        Layout.fillWidth: true
        visible: root.app.project.recoverable || previewScene.failed
        spacing: Theme.space(3)

        OIcon {
            name: "life-buoy"
            color: Theme.stateInk
        }
        OLabel {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: (root.app.project.recoverable ? "La grabación se interrumpió. " : "") + "Al recuperarla se preparan de nuevo sus archivos; los originales se conservan."
        }
        OButton {
            objectName: "withoutLost"
            visible: root.app.recovery.lostTracks !== ""
            text: "Seguir sin: " + root.app.recovery.lostTracks
            enabled: root.app.idle
            onClicked: root.app.recovery.continueWithoutLost()
        }
        OButton {
            objectName: "recover"
            text: "Recuperar grabación"
            prominent: true
            enabled: root.app.idle
            onClicked: root.app.recover()
        }
    }
    Transport {
        Layout.fillWidth: true
        app: root.app
        commands: root.commands
    }
}
