import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The running recording: its length and its controls.
RowLayout {
    id: root

    required property AppModel app

    function askFor(verb: string) {
        question.verb = verb
        question.open()
    }

    spacing: Theme.space(2)

    Alert {
        id: question

        property string verb: ""

        title: verb === "retake" ? "¿Repetir la grabación?" : "¿Descartar la grabación?"
        message: "Lo grabado va a la papelera del escritorio." + (verb === "retake" ? " Después empieza otra igual." : "")
        acceptText: verb === "retake" ? "Repetir" : "Descartar"
        rejectText: "Seguir grabando"
        destructive: true
        onAccepted: verb === "retake" ? root.app.recorder.retake() : root.app.recorder.discard()
    }
    OLabel {
        objectName: "unheard"
        visible: root.app.recorder.microphoneUnheard
        text: "No se oye el micrófono"
        color: Theme.stateInk
        font.pixelSize: Theme.captionSize
    }
    Rectangle {
        implicitWidth: 10
        implicitHeight: 10
        radius: root.app.recorder.isPaused ? 1 : 5
        color: Theme.danger
    }
    OLabel {
        objectName: "recordingTime"
        text: Wording.time(root.app.recorder.time)
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
    OIconButton {
        id: more

        objectName: "more"
        implicitHeight: 26
        iconName: "ellipsis"
        text: "Repetir o descartar"
        enabled: !root.app.busy
        onClicked: menu.popup(more, 0, -menu.height)

        OMenu {
            id: menu

            OMenuItem {
                text: "Repetir la grabación"
                onTriggered: root.askFor("retake")
            }
            OMenuItem {
                text: "Descartar la grabación"
                onTriggered: root.askFor("discard")
            }
        }
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
