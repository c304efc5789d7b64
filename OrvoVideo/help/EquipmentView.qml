pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Recorder
import Orvo.Ui

/// The equipment that the application finds on this machine: a row with state, advice and button for each item.
Popup {
    id: root

    required property AppModel app
    /// Whether this is the application's first start.
    property bool first: false

    signal settingsWanted(tab: int)
    signal tabWanted()

    /// The text and the icon of an item's button.
    function buttonOf(name: string, state: string): var {
        switch (name) {
        case "speechModel":
            return state === "good" ? ["Otro modelo…", "settings"] : downloadable ? ["Descargar ahora", "download"] : ["Ajustes…", "settings"]
        case "microphone":
            return ["Ajustes de sonido", "mic"]
        case "screen":
            return ["Privacidad", "monitor"]
        case "shortcuts":
            return ["Cambiar…", "keyboard"]
        case "browser":
            return state === "good" ? ["Ver los pasos", "globe"] : ["Instalar la extensión…", "globe"]
        default:
            return ["Comprobar otra vez", "refresh-cw"]
        }
    }
    function act(name: string, state: string) {
        switch (name) {
        case "speechModel":
            if (state === "good" || !downloadable)
                root.settingsWanted(0)
            else
                root.app.transcription.downloadModel(root.app.transcription.speechModel)
            break
        case "microphone":
            root.app.installation.openAudioSettings()
            break
        case "screen":
            root.app.installation.openScreenPrivacy()
            break
        case "shortcuts":
            root.settingsWanted(1)
            break
        case "browser":
            root.tabWanted()
            break
        default:
            equipment.look()
        }
    }

    readonly property bool downloadable: ["tiny", "base", "small", "medium", "turbo"].includes(app.transcription.speechModel)

    anchors.centerIn: parent
    width: Math.min(620, (parent ? parent.width : 620) - Theme.space(8))
    height: Math.min(implicitHeight, (parent ? parent.height : 800) - Theme.space(6))
    modal: true
    focus: true
    padding: Theme.space(6)
    rightPadding: Theme.space(3)
    closePolicy: Popup.CloseOnEscape
    onAboutToShow: equipment.look()
    onOpened: closeButton.forceActiveFocus(Qt.TabFocusReason)

    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: Theme.line
    }
    Overlay.modal: Rectangle {
        color: Theme.shade
    }

    EquipmentList {
        id: equipment

        speechModel: root.app.transcription.speechModel
        shortcutsText: Wording.keys(root.app.shortcuts.supportText)
        onSpeechModelChanged: look()
    }
    Connections {
        target: root.app.transcription

        function onModelReady() {
            equipment.look()
        }
    }
    // Checks again when the user returns from a terminal or the desktop's settings.
    Connections {
        target: root.app.installation

        function onToolsChanged() {
            equipment.look()
        }
        function onExtensionConnectedChanged() {
            equipment.look()
        }
    }
    MicrophoneLevel {
        id: meter

        active: root.visible && !root.app.recorder.capturing
        device: root.app.options.microphoneDevice
    }

    contentItem: ColumnLayout {
        spacing: Theme.space(4)
        Accessible.role: Accessible.Dialog
        Accessible.name: "Comprobar el equipo"

        ColumnLayout {
            Layout.rightMargin: Theme.space(3)
            spacing: Theme.space(1)

            OLabel {
                text: root.first ? "Todo listo para empezar" : "Comprobar el equipo"
                font.pixelSize: Theme.titleSize
                font.weight: Font.Bold
                Accessible.role: Accessible.Heading
            }
            OLabel {
                Layout.fillWidth: true
                secondary: true
                text: equipment.looking && equipment.rowCount() === 0 ? "Mirando qué hay en este equipo…"
                    : !equipment.complete ? "Falta algo. Cada línea dice qué hacer."
                    : root.first ? "Esto es lo que Orvo Video ha encontrado en este equipo. Puedes volver a verlo en «Ayuda»."
                                 : "Esto es lo que Orvo Video ha encontrado en este equipo."
                wrapMode: Text.Wrap
            }
        }
        ScrollView {
            id: scroll

            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitHeight: Math.max(list.implicitHeight, 240)
            contentWidth: availableWidth
            rightPadding: Theme.space(3)
            ScrollBar.vertical: OScrollBar {
                parent: scroll
                x: scroll.width - width
                height: scroll.height
            }

            ColumnLayout {
                id: list

                width: scroll.availableWidth
                spacing: Theme.space(4)

                Repeater {
                    model: equipment

                    EquipmentRow {
                        id: row

                        required property string name
                        required property var model
                        readonly property var button: root.buttonOf(name, model.itemState)

                        Layout.fillWidth: true
                        objectName: "equipment-" + name
                        title: model.title
                        itemState: name === "microphone" && meter.error !== "" ? "limited" : model.itemState
                        text: name === "microphone" && meter.error !== "" && model.itemState === "good" ? meter.error : model.text
                        advice: model.advice
                        command: model.command
                        buttonText: button[0]
                        buttonIcon: button[1]
                        buttonEnabled: name !== "speechModel" || model.itemState === "good" || root.app.idle
                        onActivated: root.act(name, model.itemState)
                        onCopied: root.app.installation.copy(model.command, "Orden copiada")

                        Rectangle {
                            objectName: "level"
                            visible: row.name === "microphone" && row.itemState === "good"
                            Layout.preferredWidth: 200
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
                        OProgressBar {
                            objectName: "download"
                            visible: row.name === "speechModel" && row.itemState !== "good" && root.app.busy
                            Layout.preferredWidth: 200
                            name: root.app.status
                            value: root.app.progress
                        }
                        OButton {
                            visible: row.name === "speechModel" && row.itemState !== "good" && root.app.busy
                            implicitHeight: 26
                            text: "Cancelar"
                            onClicked: root.app.cancel()
                        }
                    }
                }
            }
        }
        RowLayout {
            Layout.rightMargin: Theme.space(3)
            spacing: Theme.space(2)

            OButton {
                implicitHeight: Theme.prominentHeight
                text: "Comprobar otra vez"
                iconName: "refresh-cw"
                enabled: !equipment.looking
                onClicked: equipment.look()
            }
            Item {
                Layout.fillWidth: true
            }
            OButton {
                id: closeButton

                prominent: true
                text: root.first ? "Empezar" : "Cerrar"
                onClicked: root.close()
            }
        }
    }
}
