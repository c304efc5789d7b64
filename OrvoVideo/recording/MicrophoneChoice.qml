import QtQuick
import QtQuick.Layouts
import Orvo.Model
import OrvoVideo

/// Which microphone is recorded, and how loud it is.
ColumnLayout {
    id: root

    required property AppModel app
    required property CaptureDevices devices
    property bool listening: false

    spacing: Theme.space(2)

    MicrophoneLevel {
        id: meter

        active: root.listening && root.app.options.microphone
        device: root.app.options.microphoneDevice
    }

    OSwitch {
        objectName: "microphone"
        Layout.fillWidth: true
        text: "Grabar micrófono"
        checked: root.app.options.microphone
        onToggled: root.app.options.microphone = checked
    }
    RowLayout {
        visible: root.app.options.microphone && meter.error === ""
        spacing: Theme.space(3)

        OComboBox {
            objectName: "microphoneDevice"
            Layout.fillWidth: true
            name: "Micrófono"
            textRole: "label"
            valueRole: "id"
            model: root.devices.microphones
            currentIndex: root.devices.rowOf(root.devices.microphones, root.app.options.microphoneDevice)
            onActivated: root.app.options.microphoneDevice = currentValue
            popup.onAboutToShow: root.devices.refresh()
        }
        Rectangle {
            objectName: "level"
            Layout.preferredWidth: 120
            Layout.preferredHeight: 8
            radius: 4
            color: Theme.line
            Accessible.role: Accessible.Indicator
            Accessible.name: "Nivel del micrófono"
            Accessible.description: Math.round(meter.level * 100) + " %"

            Rectangle {
                width: Math.max(parent.radius * 2, parent.width * meter.level)
                height: parent.height
                radius: parent.radius
                visible: meter.level > 0
                color: meter.level > 0.95 ? Theme.danger : meter.level > 0.85 ? Theme.cutEdge : Theme.selectionEdge
            }
        }
    }
    OLabel {
        Layout.fillWidth: true
        visible: meter.error !== ""
        text: meter.error
        color: Theme.stateInk
        wrapMode: Text.Wrap
    }
}
