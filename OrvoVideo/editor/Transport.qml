import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Playback buttons, position slider and time.
RowLayout {
    id: root

    required property AppModel app
    required property EditorCommands commands

    spacing: Theme.space(3)

    OIconButton {
        objectName: "play"
        plain: false
        iconName: root.commands.speed !== 0 ? "pause" : "play"
        command: Commands.TogglePlaying
        text: root.commands.speed !== 0 ? "Pausar" : Commands.title(command)
        focusPolicy: Qt.TabFocus
        enabled: root.app.hasProject
        onClicked: root.commands.togglePlaying()
    }

    Slider {
        id: slider

        objectName: "seek"
        Layout.fillWidth: true
        implicitHeight: Theme.controlHeight
        padding: 0
        from: 0
        to: Math.max(root.app.project.duration, 0.01)
        value: root.app.playhead
        stepSize: 1
        focusPolicy: Qt.TabFocus
        enabled: root.app.hasProject
        onMoved: root.app.seek(value)

        Accessible.role: Accessible.Slider
        Accessible.name: "Posición"
        Accessible.description: time.text

        background: Rectangle {
            y: (slider.height - height) / 2
            width: slider.width
            height: 4
            radius: 2
            color: Theme.line

            Rectangle {
                width: slider.visualPosition * parent.width
                height: parent.height
                radius: 2
                color: Theme.accentInk
            }
        }
        handle: Rectangle {
            x: slider.visualPosition * (slider.width - width)
            y: (slider.height - height) / 2
            width: 14
            height: 14
            radius: 7
            color: Theme.accentInk

            FocusRing {
                shown: slider.visualFocus
                radius: 10
            }
        }
    }

    OLabel {
        visible: root.commands.speed !== 0 && root.commands.speed !== 1
        text: (root.commands.speed < 0 ? "−" : "") + Math.abs(root.commands.speed) + "×"
        color: Theme.accentInk
        font: Theme.digits(Theme.bodySize)
        Accessible.name: "Velocidad " + text
    }
    OLabel {
        id: time

        text: Wording.exactTime(root.app.playhead) + " / " + Wording.time(root.app.project.duration)
        secondary: true
        font: Theme.digits(Theme.bodySize)
    }
    OIconButton {
        iconName: root.commands.previewAlone ? "shrink" : "expand"
        command: Commands.ShowPreviewAlone
        text: root.commands.previewAlone ? "Volver al editor" : Commands.title(command)
        focusPolicy: Qt.TabFocus
        enabled: root.app.hasProject
        onClicked: root.commands.previewAlone = !root.commands.previewAlone
    }
}
