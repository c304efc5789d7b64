pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// Time, microphone level and controls of a recording while the windows are hidden. Always dark. Questions appear inside the
/// bar, because another window might be recorded.
Item {
    id: root

    required property Recorder recorder
    /// "controls"; "more", the page behind "⋯"; or "ask", the question before discarding.
    property string page: "controls"
    /// The subject of the page "ask": "retake" or "discard".
    property string asked: ""

    readonly property bool running: recorder.phase === Recorder.Recording || recorder.phase === Recorder.Paused

    function answer() {
        const verb = asked
        page = "controls"
        if (verb === "retake")
            recorder.retake()
        else
            recorder.discard()
    }

    implicitWidth: 320
    implicitHeight: 44

    component BarButton: AbstractButton {
        id: control

        property string iconName: ""
        property color ink: "#F3F0FA"
        property color fill: "transparent"

        height: 32
        width: iconName && !text ? 32 : label.implicitWidth + 24
        enabled: root.running
        opacity: enabled ? 1 : 0.45
        hoverEnabled: true
        Accessible.role: Accessible.Button

        background: Rectangle {
            radius: 8
            color: control.down ? "#40FFFFFF" : control.hovered ? "#26FFFFFF" : control.fill
        }
        contentItem: Item {
            OIcon {
                anchors.centerIn: parent
                visible: control.text === ""
                name: control.iconName
                color: control.ink
                size: 18
            }
            Text {
                id: label

                anchors.centerIn: parent
                text: control.text
                color: control.ink
                font.pixelSize: 13
                font.weight: Font.DemiBold
                Accessible.ignored: true
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        radius: 12
        color: "#1D1A24"
        border.color: "#352F42"
    }
    Row {
        objectName: "controls"
        visible: root.page === "controls"
        anchors.verticalCenter: parent.verticalCenter
        x: 14
        spacing: 8

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: 10
            height: 10
            radius: root.recorder.isPaused ? 1 : 5
            color: root.recorder.isPaused ? "#A9A3B8" : "#FF4D4D"
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: 50
            text: Wording.time(root.recorder.time)
            color: "#F3F0FA"
            font: Theme.digits(15)
            Accessible.role: Accessible.StaticText
            Accessible.name: "Tiempo grabado " + text
        }
        Item {
            objectName: "barLevel"
            anchors.verticalCenter: parent.verticalCenter
            width: 60
            height: 20
            Accessible.role: Accessible.Indicator
            Accessible.name: root.recorder.microphoneUnheard ? "No se oye el micrófono" : "Nivel del micrófono"
            Accessible.description: Math.round(root.recorder.microphoneLevel * 100) + " %"

            OIcon {
                anchors.verticalCenter: parent.verticalCenter
                visible: root.recorder.recordsMicrophone
                name: root.recorder.microphoneUnheard ? "triangle-alert" : "mic"
                size: 14
                color: root.recorder.microphoneUnheard ? "#FF9F43" : "#A9A3B8"
            }
            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                visible: root.recorder.recordsMicrophone
                x: 20
                width: 40
                height: 6
                radius: 3
                color: root.recorder.microphoneUnheard ? "#FF9F43" : "#352F42"

                Rectangle {
                    visible: root.recorder.microphoneLevel > 0 && !root.recorder.microphoneUnheard
                    width: Math.max(6, parent.width * root.recorder.microphoneLevel)
                    height: 6
                    radius: 3
                    color: root.recorder.microphoneLevel > 0.95 ? "#FF4D4D" : root.recorder.microphoneLevel > 0.85 ? "#FF9F43" : "#2EC4B6"
                }
            }
        }
        Row {
            anchors.verticalCenter: parent.verticalCenter
            spacing: 4

            BarButton {
                objectName: "barPause"
                iconName: root.recorder.isPaused ? "play" : "pause"
                Accessible.name: root.recorder.isPaused ? "Continuar" : "Pausar"
                onClicked: root.recorder.togglePause()
            }
            BarButton {
                objectName: "barZoom"
                iconName: "zoom-in"
                enabled: root.running && !root.recorder.isPaused
                Accessible.name: "Añadir zoom"
                onClicked: root.recorder.markZoom()
            }
            BarButton {
                objectName: "barStop"
                iconName: "circle-stop"
                fill: "#C22626"
                ink: "#FFFFFF"
                Accessible.name: "Terminar y guardar"
                onClicked: root.recorder.stop()
            }
            BarButton {
                objectName: "barMore"
                iconName: "ellipsis"
                Accessible.name: "Más"
                onClicked: root.page = "more"
            }
        }
    }
    Row {
        visible: root.page === "more"
        anchors.centerIn: parent
        spacing: 4

        BarButton {
            objectName: "barBack"
            iconName: "chevron-left"
            Accessible.name: "Volver"
            onClicked: root.page = "controls"
        }
        BarButton {
            objectName: "barRetake"
            text: "Repetir"
            Accessible.name: text
            onClicked: {
                root.asked = "retake"
                root.page = "ask"
            }
        }
        BarButton {
            objectName: "barDiscard"
            text: "Descartar"
            ink: "#FF7A7A"
            Accessible.name: text
            onClicked: {
                root.asked = "discard"
                root.page = "ask"
            }
        }
    }
    Row {
        visible: root.page === "ask"
        anchors.verticalCenter: parent.verticalCenter
        x: 14
        spacing: 6

        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: 130
            text: "Lo grabado irá a la papelera."
            color: "#F3F0FA"
            font.pixelSize: 12
            wrapMode: Text.Wrap
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
        BarButton {
            objectName: "barConfirm"
            text: root.asked === "retake" ? "Repetir" : "Descartar"
            ink: "#FF7A7A"
            Accessible.name: text
            onClicked: root.answer()
        }
        BarButton {
            objectName: "barKeep"
            text: "No"
            fill: "#26FFFFFF"
            Accessible.name: "No, seguir grabando"
            onClicked: root.page = "controls"
        }
    }
}
