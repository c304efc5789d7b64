import QtQuick
import QtQuick.Layouts
import Orvo.Model
import OrvoVideo

/// What is going on: the progress of the long operation with the way to stop it, the last error, or the status.
Rectangle {
    id: root

    required property AppModel app

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
            text: (failed ? root.app.errorMessage : root.app.status).replace(/\s*\n\s*/g, " ")
            color: failed ? Theme.danger : Theme.secondaryText
            font.pixelSize: Theme.captionSize
            elide: Text.ElideRight
            Accessible.role: Accessible.StatusBar
            Accessible.name: text
        }
        OProgressBar {
            objectName: "progress"
            Layout.preferredWidth: 200
            visible: root.app.busy
            name: root.app.status
            value: root.app.progress
        }
        OLabel {
            Layout.preferredWidth: 36
            visible: root.app.busy
            secondary: true
            horizontalAlignment: Text.AlignRight
            text: Math.round(root.app.progress * 100) + " %"
            font: Theme.digits(Theme.captionSize)
            Accessible.ignored: true
        }
        OButton {
            objectName: "cancel"
            implicitHeight: 26
            visible: root.app.busy
            text: "Cancelar"
            onClicked: root.app.cancel()
        }
    }
}
