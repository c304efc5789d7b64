import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Selects whether to record a camera and which one, and shows its image.
ColumnLayout {
    id: root

    required property AppModel app
    required property CaptureDevices devices
    property bool watching: false

    spacing: Theme.space(2)

    OSwitch {
        objectName: "camera"
        Layout.fillWidth: true
        text: "Añadir cámara en pista separada"
        checked: root.app.options.camera
        onToggled: root.app.options.camera = checked
    }
    RowLayout {
        visible: root.app.options.camera
        spacing: Theme.space(3)

        ColumnLayout {
            Layout.alignment: Qt.AlignTop
            spacing: Theme.space(2)

            OComboBox {
                objectName: "cameraDevice"
                Layout.fillWidth: true
                name: "Cámara"
                textRole: "label"
                valueRole: "id"
                model: root.devices.withChosen(root.devices.cameras, root.app.options.cameraDevice)
                currentIndex: root.devices.rowOf(model, root.app.options.cameraDevice)
                onActivated: root.app.options.cameraDevice = currentValue
                popup.onAboutToShow: root.devices.refresh()
            }
            OLabel {
                Layout.fillWidth: true
                visible: mirror.error !== ""
                text: mirror.error
                color: Theme.stateInk
                wrapMode: Text.Wrap
            }
        }
        Rectangle {
            Layout.preferredWidth: 160
            Layout.preferredHeight: 90
            radius: Theme.radius
            color: Theme.raised
            border.color: Theme.line

            CameraMirror {
                id: mirror

                anchors.fill: parent
                anchors.margins: 1
                active: root.watching && root.app.options.camera
                device: root.app.options.cameraDevice
                Accessible.role: Accessible.Graphic
                Accessible.name: "Imagen de la cámara"
            }
            OIcon {
                anchors.centerIn: parent
                visible: !mirror.showing
                name: "video"
                size: Theme.largeIconSize
                color: Theme.secondaryText
            }
        }
    }
}
