import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Editor
import Orvo.Recorder
import Orvo.Ui

/// Shows the progress of a long operation and a button to cancel it, the last error, or the status. Without a long operation,
/// shows the progress of reading the audio for the timeline. While recording, shows the time and the controls.
Rectangle {
    id: root

    required property AppModel app
    property TimelineCanvas timeline: null
    /// Whether an operation of known length runs; false during the countdown and the end of a recording.
    readonly property bool working: app.queue.busy || (app.busy && !app.recorder.capturing)
    readonly property bool preparing: !app.busy && app.hasProject && (timeline?.preparing ?? false)
    readonly property real progress: preparing ? timeline.preparingProgress : app.progress

    implicitHeight: 36
    color: Theme.panel

    Rectangle {
        width: parent.width
        height: 1
        color: Theme.line
    }
    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.space(4)
        anchors.rightMargin: Theme.space(3)
        spacing: Theme.space(3)

        OIcon {
            visible: message.failed
            name: "circle-alert"
            color: Theme.danger
        }
        OLabel {
            id: message

            readonly property bool failed: root.app.errorMessage !== ""

            objectName: "status"
            Layout.fillWidth: true
            text: Wording.here(failed ? Wording.cause(root.app.errorMessage) : root.app.status).replace(/\s*\n\s*/g, " ")
            color: failed ? Theme.danger : Theme.secondaryText
            font.pixelSize: Theme.captionSize
            elide: Text.ElideRight
            Accessible.role: Accessible.StatusBar
            Accessible.name: text
        }
        OButton {
            objectName: "copyAgain"
            implicitHeight: 26
            visible: root.app.publishing.copyRefused
            text: "Copiar"
            onClicked: root.app.publishing.copyAgain()
        }
        OLabel {
            visible: root.preparing
            secondary: true
            text: "Preparando el sonido…"
            font.pixelSize: Theme.captionSize
            Accessible.ignored: true
        }
        OLabel {
            objectName: "timeLeft"
            visible: root.working && text !== ""
            secondary: true
            text: root.app.queue.timeLeft
            font: Theme.digits(Theme.captionSize)
        }
        OButton {
            id: waitingButton

            objectName: "waiting"
            implicitHeight: 26
            visible: root.app.queue.waiting.length > 0
            plain: true
            text: root.app.queue.waiting.length + " en espera"
            onClicked: waitingMenu.popup(waitingButton, 0, -waitingMenu.implicitHeight)

            OMenu {
                id: waitingMenu

                Repeater {
                    model: root.app.queue.waiting

                    OMenuItem {
                        required property int index
                        required property string modelData

                        text: "Quitar de la espera: " + modelData
                        onTriggered: root.app.queue.remove(index)
                    }
                }
            }
        }
        OProgressBar {
            objectName: "progress"
            Layout.preferredWidth: 200
            visible: root.working || root.preparing
            name: root.preparing ? "Preparando el sonido…" : root.app.status
            value: root.progress
        }
        OLabel {
            Layout.preferredWidth: 36
            visible: root.working || root.preparing
            secondary: true
            horizontalAlignment: Text.AlignRight
            text: Math.round(root.progress * 100) + " %"
            font: Theme.digits(Theme.captionSize)
            Accessible.ignored: true
        }
        OButton {
            objectName: "cancel"
            implicitHeight: 26
            visible: root.working || root.app.recorder.countdown > 0 || root.preparing
            text: "Cancelar"
            onClicked: root.preparing ? root.timeline.cancelPreparing() : root.app.cancel()
        }
        RecordingControls {
            visible: root.app.recorder.isRecording
            app: root.app
        }
    }
}
