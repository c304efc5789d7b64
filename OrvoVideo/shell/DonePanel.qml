import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Shows a finished export and actions for it. Not modal; stays until the user closes it.
Rectangle {
    id: root

    required property AppModel app
    readonly property Exports done: app.exports

    visible: done.doneCount > 0 && !app.recorder.isRecording
    implicitWidth: Math.min(380, (parent?.width ?? 380) - Theme.space(8))
    implicitHeight: content.implicitHeight + Theme.space(6)
    radius: Theme.panelRadius
    color: Theme.panel
    border.color: Theme.line
    Accessible.role: Accessible.Grouping
    Accessible.name: "Exportado: " + done.doneName

    MouseArea { // Keeps clicks from the items below.
        anchors.fill: parent
        hoverEnabled: true
    }
    ColumnLayout {
        id: content

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        anchors.leftMargin: Theme.space(4)
        anchors.rightMargin: Theme.space(3)
        spacing: Theme.space(2)

        RowLayout {
            spacing: Theme.space(2.5)

            OIcon {
                name: "circle-check"
                size: Theme.largeIconSize
                color: Theme.accentInk
            }
            Column {
                Layout.fillWidth: true
                spacing: 2

                OLabel {
                    objectName: "doneName"
                    width: parent.width
                    text: root.done.doneName
                    font.weight: Font.DemiBold
                    elide: Text.ElideMiddle
                }
                OLabel {
                    width: parent.width
                    secondary: true
                    text: Wording.size(root.done.doneBytes) + (root.done.doneCount > 1 ? " · y " + (root.done.doneCount - 1) + " más" : "")
                    font: Theme.digits(Theme.captionSize)
                }
            }
            OIconButton {
                iconName: "x"
                text: "Cerrar el aviso"
                onClicked: root.done.dismiss()
            }
        }
        RowLayout {
            spacing: Theme.space(2)

            OButton {
                objectName: "openDone"
                text: "Abrir"
                iconName: "play"
                onClicked: root.done.openDone()
            }
            OButton {
                objectName: "showDone"
                text: "Mostrar en la carpeta"
                iconName: "folder-open"
                onClicked: root.done.showDone()
            }
        }
    }
}
