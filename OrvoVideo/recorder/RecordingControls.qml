import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The running recording: its length and its controls.
RowLayout {
    id: root

    required property AppModel app

    spacing: Theme.space(2)

    Rectangle {
        implicitWidth: 10
        implicitHeight: 10
        radius: root.app.recorder.isPaused ? 1 : 5
        color: Theme.danger
    }
    OLabel {
        objectName: "recordingTime"
        text: Theme.timeText(root.app.recorder.time)
        font: Theme.digits(Theme.bodySize)
        Accessible.name: "Tiempo grabado " + text
    }
    OButton {
        objectName: "pause"
        implicitHeight: 26
        text: root.app.recorder.isPaused ? "Continuar" : "Pausar"
        iconName: root.app.recorder.isPaused ? "play" : "pause"
        enabled: !root.app.busy
        onClicked: root.app.togglePause()
    }
    OButton {
        objectName: "stop"
        implicitHeight: 26
        destructive: true
        prominent: true
        text: "Terminar"
        iconName: "circle-stop"
        enabled: !root.app.busy
        onClicked: root.app.stopRecording()
    }
}
