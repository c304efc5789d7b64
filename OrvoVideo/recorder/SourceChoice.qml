import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Selects the display or window and shows its content. Where the desktop chooses, opens its picker.
ColumnLayout {
    id: root

    required property CaptureChoice choice
    readonly property bool shared: choice.desktopChooses && choice.sources.count > 0

    spacing: Theme.space(2)

    RowLayout {
        spacing: Theme.space(2)

        OLabel {
            Layout.preferredWidth: 84
            text: "Capturar"
        }
        OComboBox {
            objectName: "source"
            Layout.fillWidth: true
            visible: !root.choice.desktopChooses
            enabled: count > 0
            name: "Capturar"
            textRole: "label"
            valueRole: "sourceId"
            model: root.choice.sources
            displayText: count > 0 ? currentText : root.choice.mode === "window" ? "No hay ninguna ventana abierta" : "No hay ninguna pantalla"
            currentIndex: {
                root.choice.sources.count // Depends on the rows, which move.
                return root.choice.sources.rowOf(root.choice.sourceID)
            }
            onActivated: root.choice.sourceID = currentValue
        }
        OIconButton {
            visible: !root.choice.desktopChooses
            iconName: "refresh-cw"
            text: "Actualizar"
            onClicked: root.choice.loadSources()
        }
        OLabel {
            objectName: "desktopSource"
            Layout.fillWidth: true
            visible: root.choice.desktopChooses
            secondary: !root.shared
            text: root.shared ? root.choice.sources.get(0).label : root.choice.remembered !== "" ? "Se compartirá otra vez: " + root.choice.remembered : "Lo eliges al empezar, en tu escritorio."
            wrapMode: Text.Wrap
        }
        OButton {
            objectName: "choose"
            visible: root.choice.desktopChooses
            text: root.shared || root.choice.remembered !== "" ? "Cambiar…" : "Elegir…"
            iconName: root.choice.mode === "window" ? "app-window" : "monitor"
            onClicked: root.choice.choose()
        }
    }
    Rectangle {
        Layout.fillWidth: true
        Layout.preferredHeight: 168
        visible: root.choice.sourceError === "" && (!root.choice.desktopChooses || root.shared)
        radius: Theme.radius
        color: Theme.raised
        border.color: Theme.line

        SourceMirror {
            id: mirror

            objectName: "sourceMirror"
            anchors.fill: parent
            anchors.margins: 4
            choice: root.choice
            sourceId: root.choice.sourceID
            Accessible.role: Accessible.Graphic
            Accessible.name: "Lo que se ve ahora"
        }
        OIcon {
            anchors.centerIn: parent
            visible: !mirror.showing
            name: root.choice.mode === "window" ? "app-window" : "monitor"
            size: 28
            color: Theme.secondaryText
        }
    }
    RowLayout {
        visible: root.choice.sourceError !== ""
        spacing: Theme.space(3)

        OLabel {
            objectName: "sourceError"
            Layout.fillWidth: true
            text: root.choice.sourceError
            color: Theme.stateInk
            wrapMode: Text.Wrap
            lineHeight: 1.2
        }
        OButton {
            visible: root.choice.desktopChooses
            text: "Abrir permisos de pantalla"
            onClicked: root.choice.choose()
        }
    }
}
