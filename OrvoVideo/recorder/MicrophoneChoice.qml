import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Selects the microphone, and shows its level.
ColumnLayout {
    id: root

    required property AppModel app
    required property CaptureDevices devices
    property bool listening: false
    readonly property string chosen: app.options.microphoneDevice
    readonly property bool chosenIsThere: devices.isThere(devices.microphones, chosen)
    readonly property bool recorded: devices.hasMicrophone && app.options.microphone

    spacing: Theme.space(2)

    MicrophoneLevel {
        id: meter

        active: root.listening && root.recorded && root.chosenIsThere
        device: root.chosen
    }
    // Without a usable microphone, looks for one regularly.
    Timer {
        interval: 2000
        repeat: true
        running: root.listening && (!root.devices.hasMicrophone || !root.chosenIsThere || meter.error !== "")
        onTriggered: root.devices.refresh()
    }

    OSwitch {
        objectName: "microphone"
        Layout.fillWidth: true
        text: "Grabar micrófono"
        enabled: root.devices.hasMicrophone
        checked: root.recorded
        onToggled: {
            root.app.options.microphone = checked
            checked = Qt.binding(() => root.recorded)
        }
    }
    RowLayout {
        visible: root.recorded
        spacing: Theme.space(3)

        OComboBox {
            objectName: "microphoneDevice"
            Layout.fillWidth: true
            name: "Micrófono"
            textRole: "label"
            valueRole: "id"
            model: root.devices.withChosen(root.devices.microphones, root.chosen)
            currentIndex: root.devices.rowOf(model, root.chosen)
            onActivated: root.app.options.microphoneDevice = currentValue
            popup.onAboutToShow: root.devices.refresh()
        }
        Rectangle {
            objectName: "level"
            visible: meter.error === "" && root.chosenIsThere
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
        objectName: "microphoneNote"
        Layout.fillWidth: true
        visible: text !== ""
        text: {
            if (!root.devices.hasMicrophone)
                return "No hay un micrófono disponible: se graba sin él."
            if (!root.recorded)
                return ""
            return root.chosenIsThere ? meter.error : "Este micrófono no está conectado. Conéctalo o elige otro."
        }
        color: Theme.stateInk
        wrapMode: Text.Wrap
    }
}
